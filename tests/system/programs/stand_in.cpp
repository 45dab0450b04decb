// Replaces an outside tool: writes its command line to the file "log" in its folder, and creates its output.
// The file "<its name>.does" changes that:
//   nothing    exits at once                     half       writes half its output, then kills itself
//   exit1      exits with 1                      old        dates its output back by an hour
//   speak      prints a line on both outputs     interrupt  sends SIGINT to the run and to itself

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::string CommandLine([[maybe_unused]] const std::vector<std::string>& items) {
#ifdef _WIN32
  return ::GetCommandLineA() + std::string(::IsWindowVisible(::GetConsoleWindow()) ? " visible" : " hidden");
#else
  std::string line;
  for (const std::string& item : items) line += "[" + item + "]";
  return line;
#endif
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> items(argv, argv + argc);
  const std::filesystem::path self = argv[0], folder = self.parent_path();
  const std::string tool = self.stem().string();
  std::ofstream log(folder / "log", std::ios::app | std::ios::binary);
  log << CommandLine(items) << (std::filesystem::exists(folder / "IP.BIN") ? " IP.BIN is here" : "")
      << std::endl;

  std::string does;
  std::ifstream(folder / (tool + ".does")) >> does;
  if (does == "nothing") return 0;
  if (does == "speak") std::cout << tool << " speaks" << std::endl;
  if (does == "speak") std::cerr << tool << " complains" << std::endl;

  std::string output = items.back();
  for (std::size_t i = 0; i + 1 < items.size(); ++i) {
    if (items[i] == "-o") output = items[i + 1];
  }
  std::ofstream(output) << "made by ";
  if (does == "half") std::raise(SIGTERM);
  std::ofstream(output, std::ios::app) << tool;
  const auto anHourAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  if (does == "old") std::filesystem::last_write_time(output, anHourAgo);
  if (does == "interrupt") {
#ifndef _WIN32
    ::kill(::getppid(), SIGINT);
#endif
    std::raise(SIGINT);
    log << tool << " goes on" << std::endl;
  }
  return does == "exit1" ? 1 : 0;
}
