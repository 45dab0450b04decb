#pragma once

#include <string>

namespace tools {

/// The words of Windows for the last error of the calling thread.
std::string LastErrorText();

}  // namespace tools
