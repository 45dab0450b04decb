#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "platform/posix/process.h"
#include "run/main.h"

namespace {

/// Makes a run independent of what its parent process closed or ignored.
void NormalizeProcess() {
  // A file that is opened later must not get the number of standard error, where messages are written.
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (::fcntl(file, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }

  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe must not end the run or a tool
  std::signal(SIGCHLD, SIG_DFL);  // if it is ignored, the exit status of children is lost
}

}  // namespace

int main(int argc, char** argv) {
  NormalizeProcess();
  platform::posix::KeepArguments(argc, argv);
  return mMain::Main();
}
