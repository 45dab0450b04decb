// Stands in for an outside tool in the system tests. It notes its arguments in the file "log" beside itself
// and does what the file "<its name>.does" says: nothing, exit1 (after creating its output), old (an output
// dated back), kill, interrupt (the program that started it, after creating its output). Without that file it
// creates its output.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "stand_in.h"

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const std::filesystem::path self = argv[0];
  const auto beside = [&](const std::string& name) { return self.parent_path() / name; };

  std::ofstream log(beside("log"), std::ios::app | std::ios::binary);
  log << self.stem().string();
  log << ArgumentsAsGiven(arguments);
  log << (std::filesystem::exists(beside("IP.BIN")) ? " IP.BIN is here\n" : "\n");
  log.close();

  std::string behaviour;
  std::ifstream(beside(self.stem().string() + ".does")) >> behaviour;
  if (behaviour == "nothing") return 0;
  if (behaviour == "kill") KillThisProcess();

  std::string output = arguments.back();
  for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
    if (arguments[i] == "-o") output = arguments[i + 1];
  }
  std::ofstream(output) << "made by " << self.stem().string();
  if (behaviour == "old") {
    std::filesystem::last_write_time(output,
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(24));
  }
  if (behaviour == "interrupt") InterruptTheStarter();
  return behaviour == "exit1" ? 1 : 0;
}
