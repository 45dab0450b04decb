#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cdi/image.h"
#include "cdicheck/volume.h"

namespace cdicheck {

enum class Severity { Error, Warning };

struct Problem {
  Severity severity;  ///< an error keeps the disc from booting
  std::string text;   ///< one sentence on what is wrong, one on what to do
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

/// Checks an image, however damaged it is. Throws `cdi::FormatError` if it is not an image at all.
Report Check(const cdi::Source& source);

}  // namespace cdicheck
