#pragma once

namespace platform::posix {

/// Keeps what `main` was given, its own name included, for `RawCommandLine`.
void KeepArguments(int count, const char* const* arguments);

}  // namespace platform::posix
