#pragma once

namespace platform::posix {

/// Stores the arguments of `main`, including the program's name, for `RawCommandLine`.
void KeepArguments(int count, const char* const* arguments);

}  // namespace platform::posix
