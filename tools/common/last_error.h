#pragma once

#include <string>

namespace tools {

/// Returns the text of Windows for the last error of the calling thread.
std::string LastErrorText();

}  // namespace tools
