#pragma once

#include "files/text.h"

namespace mMain {

/// Shows the usage message and ends the process: with success if the user asked for help.
[[noreturn]] void ShowUsageAndEnd();

/// The end of a stage that cannot go on: shows `message` with the stop icon, then the usage message.
[[noreturn]] void FailAndEnd(const Text& message);

}  // namespace mMain
