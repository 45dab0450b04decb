#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cdi/parse.h"
#include "cdicheck/volume.h"

namespace cdicheck {

enum class Severity { Error, Warning };

struct Problem {
  Severity severity;  ///< an error keeps the disc from booting
  std::string text;   ///< one sentence that says what to do about it
};

/// A field of the boot header, in words.
struct HeaderField {
  std::string name;
  std::string text;
};

/// What is on an image, as far as it could be read, and what is wrong with it.
struct Report {
  std::optional<cdi::Image> image;
  std::vector<HeaderField> bootHeader;
  std::optional<Volume> volume;
  std::vector<Problem> problems;
};

/// Never fails because of what it reads: throws `cdi::FormatError` if it is no image at all.
Report Check(const cdi::Source& source);

/// How much `program` (plain, as it lies in memory) looks like SH-4 code, in percent. Compilers load
/// addresses from pools of constants near the code. Of these loads, which are easy to find, three in four
/// give an address of the console in a program; one or two in ten where its slices stand in the wrong order,
/// and two in a hundred in random bytes. 0 if there are fewer than two. Only the start is looked at, where
/// the code is.
int AddressShare(std::span<const std::byte> program);

}  // namespace cdicheck
