#pragma once

namespace platform::windows {

/// Raises the `RuntimeError` for the calling thread's last error.
[[noreturn]] void RaiseLastError();

}  // namespace platform::windows
