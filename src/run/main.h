#pragma once

namespace mMain {

/// The whole run, from the command line to the finished image. Gives the process's exit status, or ends the
/// process itself on the way.
int Main();

/// Returns only if something stands at `SelfbootDir`; otherwise ends the process with the usage message.
void RequireSelfbootDir();

}  // namespace mMain
