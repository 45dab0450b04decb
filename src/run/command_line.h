#pragma once

#include "files/text.h"

namespace mMain {

/// The process's command line as `GetOption` searches it: no line breaks, trimmed, no double quotes.
Text ReadCommandLine();

/// Asks `RunState.CommandLine` for the option `name`, dashes included. Gives the empty text if the option is
/// absent (or only spaces stand behind it at the end of the line), `name` itself if it has no value,
/// otherwise its value: the trimmed text up to the next "--". Raises 6 for a position above 32767.
Text GetOption(const Text& name);

}  // namespace mMain
