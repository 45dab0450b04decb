#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "run/main.h"

namespace {

/// What a run relies on, whoever started it.
void SettleTheProcess() {
  // A file that is opened must not become standard error, to which messages go.
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (::fcntl(file, F_GETFD) < 0) ::open("/dev/null", O_RDWR | O_CLOEXEC);
  }

  std::signal(SIGPIPE, SIG_IGN);  // nobody reading the messages is no reason to end differently
  std::signal(SIGCHLD, SIG_DFL);  // an ignored one would hide how zenity ended
}

}  // namespace

int main() {
  SettleTheProcess();
  return mMain::Main();
}
