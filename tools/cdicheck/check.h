#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cdi/image.h"
#include "cdicheck/volume.h"

namespace cdicheck {

enum class Severity { Error, Warning };

struct Problem {
  std::string id;
  Severity severity;  ///< an error keeps the disc from booting
  std::string text;   ///< says what is wrong and what to do
};

/// A field of the boot header as text.
struct HeaderField {
  std::string name;
  std::string text;
};

/// The contents of an image, as far as they can be read, and its problems.
struct Report {
  std::optional<cdi::Image> image;
  std::vector<HeaderField> bootHeader;
  std::optional<Volume> volume;
  std::vector<Problem> problems;
};

/// Receives the number of sectors that were just verified, and the number of all sectors to verify. Two
/// threads call it at once.
using SectorsVerified = std::function<void(std::size_t count, std::uint64_t total)>;

/// Checks an image, even a damaged one. Throws `cdi::FormatError` if it is not an image at all.
Report Check(const cdi::Source& source, const SectorsVerified& verified = {});

}  // namespace cdicheck
