#pragma once

#include <string>
#include <string_view>

#include "files/text.h"

namespace platform::windows {

/// Text in the system's ANSI code page, as the 8-bit calls take and give it. A character that the code page
/// does not have becomes a question mark, which no file name holds.
std::string ToAnsi(const Text& text);
Text FromAnsi(std::string_view bytes);

}  // namespace platform::windows
