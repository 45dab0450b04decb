#pragma once

#include <string>
#include <string_view>

#include "files/text.h"

namespace platform::posix {

/// UTF-8 as wide text. A byte b that is part of no valid sequence becomes U+DC00 + b, a code point that valid
/// UTF-8 cannot hold, so that any path survives the way in and out (Unicode 15, 3.9, table 3-7).
Text Widen(std::string_view bytes);

/// The inverse of `Widen`.
std::string Narrow(const Text& text);

/// `path` as the host takes it: up to its first NUL.
std::string HostPath(const Text& path);

}  // namespace platform::posix
