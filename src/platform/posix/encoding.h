#pragma once

#include <string>
#include <string_view>

#include "files/text.h"

namespace platform::posix {

/// Returns UTF-8 as wide text. A byte b outside every valid sequence (Unicode 15, 3.9, table 3-7) becomes
/// U+DC00 + b. Valid UTF-8 has no such code point, so every path survives the conversion and back.
Text Widen(std::string_view bytes);

/// Does the inverse of `Widen`.
std::string Narrow(const Text& text);

/// Returns `path` up to its first NUL, as the host takes it.
std::string HostPath(const Text& path);

}  // namespace platform::posix
