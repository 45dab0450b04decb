#include <windows.h>

#include "stand_in.h"

std::string ArgumentsAsGiven(const std::vector<std::string>&) {
  return std::string(" ") + ::GetCommandLineA() +
         (::IsWindowVisible(::GetConsoleWindow()) ? " visible" : " hidden");
}

void KillThisProcess() {
  ::TerminateProcess(::GetCurrentProcess(), 9);
}

void InterruptTheStarter() {}
