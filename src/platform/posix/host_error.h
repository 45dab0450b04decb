#pragma once

namespace platform::posix {

/// Raises the `RuntimeError` for `error`, a value of errno. ENOENT means that the file is missing.
[[noreturn]] void RaiseHostError(int error);

/// Does the same for a call that creates a file, where ENOENT means that a folder of the path is missing.
[[noreturn]] void RaiseHostErrorOnCreate(int error);

}  // namespace platform::posix
