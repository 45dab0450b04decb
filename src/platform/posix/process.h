#pragma once

namespace platform::posix {

/// Keeps what `main` was given, its own name included, for `RawCommandLine`.
void KeepCommandLine(int count, const char* const* arguments);

}  // namespace platform::posix
