#pragma once

#include <sys/types.h>

#include <array>
#include <csignal>

namespace platform::posix {

inline constexpr std::array NotedSignals{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

/// During its lifetime, a signal that asks the process to end is recorded instead of obeyed, so that IP.BIN
/// returns to its folder. From then on the run is cut off. A signal that was ignored before stays ignored.
class SignalsNoted {
 public:
  SignalsNoted();
  SignalsNoted(const SignalsNoted&) = delete;
  SignalsNoted& operator=(const SignalsNoted&) = delete;
  ~SignalsNoted();

 private:
  std::array<struct sigaction, NotedSignals.size()> old_{};
};

/// Waits for the end of `tool` and passes on SIGTERM and SIGHUP, which it may not have received. If a signal
/// ends the tool, the run is cut off.
void WaitForTool(pid_t tool);

/// Returns true if the run is cut off. The output of the last tool may be incomplete, so from then on every
/// path counts as missing, and the run stops at its next test.
bool IsCutOff();

}  // namespace platform::posix
