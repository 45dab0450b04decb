#pragma once

#include "files/text.h"

namespace mMain {

/// Shows the usage message and ends the process, with success if the user asked for help. Raises what
/// `platform::ExecutableName` raises.
[[noreturn]] void ShowUsageAndEnd();

/// Shows `message` with the stop icon, then the usage message, and ends the process.
[[noreturn]] void FailAndEnd(const Text& message);

}  // namespace mMain
