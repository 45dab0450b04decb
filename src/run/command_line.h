#pragma once

#include "files/text.h"

namespace mMain {

/// Returns the command line of the process as `GetOption` searches it: without line breaks and double quotes,
/// and trimmed.
Text ReadCommandLine();

/// Searches `RunState.CommandLine` for the option `name`, dashes included. Returns its value: the trimmed
/// text up to the next "--". Returns `name` itself if the option has no value, and the empty text if it is
/// absent or only spaces follow it at the end of the line. Raises 6 for a position above 32767.
Text GetOption(const Text& name);

}  // namespace mMain
