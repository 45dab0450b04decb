#pragma once

namespace mMain {

/// Does a whole run, from the command line to the finished image. Returns the exit status, unless a step ends
/// the process.
int Main();

/// Returns only if the path in `SelfbootDir` exists. Otherwise ends the process with the usage message.
void RequireSelfbootDir();

}  // namespace mMain
