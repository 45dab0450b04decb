#pragma once

#include <sys/types.h>

#include <array>
#include <csignal>

namespace platform::posix {

inline constexpr std::array NotedSignals{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

/// While it lives, a signal that asks for the end is noted and not obeyed, so that IP.BIN gets back into its
/// place. It counts as cutting the tool off. One that was ignored before stays so.
class SignalsNoted {
 public:
  SignalsNoted();
  SignalsNoted(const SignalsNoted&) = delete;
  SignalsNoted& operator=(const SignalsNoted&) = delete;
  ~SignalsNoted();

 private:
  std::array<struct sigaction, NotedSignals.size()> old_{};
};

/// Waits for the end of `tool` and passes SIGTERM and SIGHUP on to it, which may not have got them. One that
/// ends by a signal is cut off.
void WaitForTool(pid_t tool);

/// True if a tool was cut off. What it left may be half a file, so from then on no file counts as existing,
/// and the run stops at the test behind the tool.
bool IsCutOff();

}  // namespace platform::posix
