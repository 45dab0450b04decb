#pragma once

namespace mErrHndl {

/// Reports the pending exception; call it inside a catch block. Shows one message and ends the process. For a
/// known number with an unknown description, it shows nothing and returns. Raises `std::bad_alloc` if there
/// is no memory for the message.
void ReportRuntimeError();

}  // namespace mErrHndl
