#pragma once

#include <optional>

#include "files/text.h"

namespace mMain {

/// A path that is unset or set. A set path may be the empty text.
using OptionalPath = std::optional<Text>;

/// Returns true if `path` is set, also to the empty text.
inline bool IsPathSet(const OptionalPath& path) {
  return path.has_value();
}

}  // namespace mMain
