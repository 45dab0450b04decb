#pragma once

#include <optional>

#include "files/text.h"

namespace mMain {

/// A path that is unset, or set and then possibly the empty text.
using OptionalPath = std::optional<Text>;

/// True if `path` is set, the empty text included.
inline bool IsPathSet(const OptionalPath& path) {
  return path.has_value();
}

}  // namespace mMain
