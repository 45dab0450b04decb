#include "platform/posix/cut_off.h"

#include <sys/wait.h>

#include <cerrno>

namespace platform::posix {
namespace {

volatile std::sig_atomic_t cutOff = 0;
volatile std::sig_atomic_t runningTool = 0;  // 0: none
volatile std::sig_atomic_t passedOn = 0;     // the last signal that the tool must receive too; 0: none

/// The tool receives the signals of the keyboard by itself.
void Note(int signal) {
  cutOff = 1;
  if (signal != SIGTERM && signal != SIGHUP) return;
  passedOn = signal;
  const int error = errno;
  if (runningTool != 0) ::kill(runningTool, signal);
  errno = error;
}

}  // namespace

SignalsNoted::SignalsNoted() {
  struct sigaction note {};
  note.sa_handler = Note;
  for (std::size_t i = 0; i < NotedSignals.size(); ++i) {
    // A run that was started with the signal ignored, as nohup does it, goes on, and so does its tool.
    ::sigaction(NotedSignals[i], nullptr, &old_[i]);
    if (old_[i].sa_handler != SIG_IGN) ::sigaction(NotedSignals[i], &note, nullptr);
  }
}

SignalsNoted::~SignalsNoted() {
  for (std::size_t i = 0; i < NotedSignals.size(); ++i) ::sigaction(NotedSignals[i], &old_[i], nullptr);
}

void WaitForTool(pid_t tool) {
  runningTool = tool;
  if (passedOn != 0) ::kill(tool, passedOn);  // it arrived before the tool's number was known
  siginfo_t end{};
  while (::waitid(P_PID, static_cast<id_t>(tool), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  runningTool = 0;  // after waitpid, another process may have the number
  ::waitpid(tool, nullptr, 0);
  if (end.si_code != CLD_EXITED) cutOff = 1;
}

bool IsCutOff() {
  return cutOff != 0;
}

}  // namespace platform::posix
