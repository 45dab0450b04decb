#include <unistd.h>

#include <csignal>

#include "stand_in.h"

std::string ArgumentsAsGiven(const std::vector<std::string>& arguments) {
  std::string all;
  for (const std::string& argument : arguments) all += " [" + argument + "]";
  return all;
}

void KillThisProcess() {
  ::raise(SIGKILL);
}

void InterruptTheStarter() {
  ::kill(::getppid(), SIGINT);
}
