#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace platform::posix {

/// Splits a command line by the rules of Windows programs. The first item, the program, ends at its closing
/// quote or at a blank, and a backslash in it is an ordinary character. In the others quotes group, 2n
/// backslashes before a quote are n and the quote counts, 2n+1 are n and a literal quote.
std::vector<std::string> SplitCommandLine(const std::string& line);

/// Starts `program` (found on PATH if it contains no slash) with `arguments`, of which the first is its own
/// name. Redirects standard output to `output` and standard error to `error`, unless they are -1. The program
/// also ignores the signals that this process ignores, such as SIGPIPE. Returns the process, or nothing if it
/// could not be started.
std::optional<pid_t> Spawn(const std::string& program, const std::vector<std::string>& arguments, int output,
                           int error);

/// Waits for the end of `process`. Returns true if it ended with exit status 0.
bool WaitForSuccess(pid_t process);

}  // namespace platform::posix
