#pragma once

#include "files/text.h"

namespace mShell {

/// How a tool's console window is shown.
inline constexpr int ShowHidden = 0;
inline constexpr int ShowNormal = 1;

/// Starts the tool that `toolCommandLine` names. Returns when it has ended, or at once if it could not be
/// started. Only the tool's output file shows whether it succeeded.
void RunAndWait(const Text& toolCommandLine, int showStyle);

}  // namespace mShell
