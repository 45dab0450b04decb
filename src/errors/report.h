#pragma once

namespace mErrHndl {

/// Turns the pending exception into words; to be called from inside a catch. Shows one message and ends the
/// process, or, for a known number with a foreign description, shows nothing and returns.
void ReportRuntimeError();

}  // namespace mErrHndl
