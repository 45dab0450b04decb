// Stands in for an outside tool in the system tests. It notes its arguments in the file "log" beside itself
// and does what the file "<its name>.does" says: nothing, exit1 (after creating its output), old (an output
// dated back), kill, interrupt (the program that started it, after creating its output), bridge
// (leave the work to whoever takes the file "request" away). Without that file it
// creates its output.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "stand_in.h"

namespace {

std::string ArgumentLines(const std::vector<std::string>& arguments) {
  std::string lines;
  for (const std::string& argument : arguments) lines += "\n" + argument;
  return lines;
}

}  // namespace

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
  if (behaviour == "bridge") {
    std::ofstream(beside("request.part"), std::ios::binary)
        << self.stem().string() << ArgumentLines(arguments);
    std::filesystem::rename(beside("request.part"), beside("request"));
    while (std::filesystem::exists(beside("request")))
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return 0;
  }

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
