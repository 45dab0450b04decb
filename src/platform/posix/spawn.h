#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace platform::posix {

/// The items of a command line by the rules of Windows programs. The first item, the program, runs to its
/// closing quote or to a blank, and a backslash in it is an ordinary character. In the others quotes group,
/// 2n backslashes before a quote give n and the quote counts, 2n+1 give n and a literal quote.
std::vector<std::string> SplitCommandLine(const std::string& line);

/// Starts `program` (looked up on PATH if it holds no slash) with `arguments`, the first of them its own
/// name. Standard output goes to `output` and standard error to `error`, each left as it is if it is -1. What
/// is ignored here, such as SIGPIPE, is ignored there: a reader that stops listening ends nothing. Gives the
/// process, or nothing if it could not be started.
std::optional<pid_t> Spawn(const std::string& program, const std::vector<std::string>& arguments, int output,
                           int error);

/// Waits for the end of `process`. True if it ended by itself with exit status 0.
bool WaitForSuccess(pid_t process);

}  // namespace platform::posix
