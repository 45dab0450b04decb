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
  std::string bootFile;  ///< the name in the boot header
  std::optional<Volume> volume;
  std::vector<Problem> problems;
};

/// Never fails because of what it reads: throws `cdi::FormatError` if it is no image at all.
Report Check(const cdi::Source& source);

}  // namespace cdicheck
