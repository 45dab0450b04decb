#pragma once

namespace platform::posix {

/// Raises the `RuntimeError` for `error`, a value of errno, where the file itself must exist.
[[noreturn]] void RaiseHostError(int error);

/// The same where the file would have been created: if something is missing, it is a folder on the way.
[[noreturn]] void RaiseHostErrorOnCreate(int error);

}  // namespace platform::posix
