#include "platform/posix/interrupt.h"

namespace platform::posix {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void Note(int) {
  interrupted = 1;
}

/// Whoever started the run with the signal ignored wants neither the run nor the tool to notice it.
void CatchUnlessIgnored(int signal, struct sigaction& old) {
  struct sigaction note {};
  note.sa_handler = Note;
  ::sigaction(signal, nullptr, &old);
  if (old.sa_handler != SIG_IGN) ::sigaction(signal, &note, nullptr);
}

}  // namespace

InterruptsNoted::InterruptsNoted() {
  CatchUnlessIgnored(SIGINT, oldInterrupt_);
  CatchUnlessIgnored(SIGQUIT, oldQuit_);
}

InterruptsNoted::~InterruptsNoted() {
  ::sigaction(SIGINT, &oldInterrupt_, nullptr);
  ::sigaction(SIGQUIT, &oldQuit_, nullptr);
}

bool WasInterrupted() {
  return interrupted != 0;
}

}  // namespace platform::posix
