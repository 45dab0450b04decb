#pragma once

#include <csignal>

namespace platform::posix {

/// While it lives, an interrupt from the keyboard ends the tool that runs but not the run, so that IP.BIN
/// gets back into its place. `WasInterrupted` tells of it.
class InterruptsNoted {
 public:
  InterruptsNoted();
  InterruptsNoted(const InterruptsNoted&) = delete;
  InterruptsNoted& operator=(const InterruptsNoted&) = delete;
  ~InterruptsNoted();

 private:
  struct sigaction oldInterrupt_ {};
  struct sigaction oldQuit_ {};
};

/// True if a tool was interrupted. What it left may be half a file, so from then on no file counts as
/// existing, and the run stops at the test behind the tool.
bool WasInterrupted();

}  // namespace platform::posix
