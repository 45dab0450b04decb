#pragma once

#include "files/text.h"

namespace mMain {

/// The whole run, from the command line to the finished image. Gives the process's exit status, or ends the
/// process itself on the way.
int Main();

/// Shows the usage message and ends the process: with success if the user asked for help.
[[noreturn]] void ShowUsageAndEnd();

/// The end of a stage that cannot go on: shows `message` with the stop icon, then the usage message.
[[noreturn]] void FailAndEnd(const Text& message);

/// Returns only if something stands at `SelfbootDir`; otherwise ends the process with the usage message.
void RequireSelfbootDir();

}  // namespace mMain
