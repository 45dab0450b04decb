#pragma once

#include "files/text.h"

namespace mShell {

/// How a tool's console window shows.
inline constexpr int ShowHidden = 0;
inline constexpr int ShowNormal = 1;

/// Starts the tool that `toolCommandLine` names and returns when it has ended, or at once if it could not be
/// started. Nothing comes back: whether the tool did its work shows in its output file.
void RunAndWait(const Text& toolCommandLine, int showStyle);

}  // namespace mShell
