#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "platform/posix/process.h"
#include "run/main.h"

namespace {

/// What a run relies on, whoever started it.
void SettleTheProcess() {
  // A file that is opened must not become standard error, to which messages go, here or in a tool.
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (::fcntl(file, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }

  std::signal(SIGPIPE, SIG_IGN);  // nobody listening is no reason to end differently, for the tools too
  std::signal(SIGCHLD, SIG_DFL);  // an ignored one would hide how zenity and the tools end
}

}  // namespace

int main(int argc, char** argv) {
  SettleTheProcess();
  platform::posix::KeepArguments(argc, argv);
  return mMain::Main();
}
