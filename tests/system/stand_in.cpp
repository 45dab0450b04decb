// Stands in for an outside tool. It notes its command line in the file "log" beside itself, creates its
// output, and does what the file "<its name>.does" says instead or as well:
//   nothing    ends at once                         old        dates its output back by a day
//   exit1      ends with an exit status of 1        half       writes half its output, then is killed
//   speak      says so on both outputs              interrupt  as from the keyboard: the starter and this
//   tool bridge     leaves the work to whoever takes the file "request" away

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
#include <thread>
#include <vector>

namespace {

#ifdef _WIN32
std::string CommandLine(const std::vector<std::string>&) {
  return ::GetCommandLineA() + std::string(::IsWindowVisible(::GetConsoleWindow()) ? " visible" : " hidden");
}
void KillThisProcess() {
  ::TerminateProcess(::GetCurrentProcess(), 9);
}
void InterruptBoth() {}
#else
std::string CommandLine(const std::vector<std::string>& items) {
  std::string line;
  for (const std::string& item : items) line += "[" + item + "]";
  return line;
}
void KillThisProcess() {
  ::raise(SIGKILL);
}
void InterruptBoth() {
  ::kill(::getppid(), SIGINT);
  ::raise(SIGINT);
}
#endif

void LeaveToTheBridge(const std::filesystem::path& folder, const std::vector<std::string>& items) {
  std::ofstream request(folder / "request.part", std::ios::binary);
  for (const std::string& item : items) request << item << "\n";
  request.close();
  std::filesystem::rename(folder / "request.part", folder / "request");
  while (std::filesystem::exists(folder / "request"))
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> items(argv, argv + argc);
  const std::filesystem::path self = argv[0];
  const std::filesystem::path folder = self.parent_path();
  const std::string tool = self.stem().string();
  std::ofstream log(folder / "log", std::ios::app | std::ios::binary);
  log << CommandLine(items) << (std::filesystem::exists(folder / "IP.BIN") ? " IP.BIN is here" : "")
      << std::endl;

  std::string behaviour;
  std::ifstream(folder / (tool + ".does")) >> behaviour;
  if (behaviour == "nothing") return 0;
  if (behaviour == "speak") std::cout << tool << " speaks\n" << std::flush;
  if (behaviour == "speak") std::cerr << tool << " complains\n";
  if (behaviour == "bridge") return LeaveToTheBridge(folder, items), 0;

  std::string output = items.back();
  for (std::size_t i = 0; i + 1 < items.size(); ++i) {
    if (items[i] == "-o") output = items[i + 1];
  }
  std::ofstream(output) << "made by ";
  if (behaviour == "half") KillThisProcess();
  std::ofstream(output, std::ios::app) << tool;
  if (behaviour == "old") {
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(output, now - std::chrono::hours(24));
  }
  if (behaviour == "interrupt") {
    InterruptBoth();
    log << tool << " goes on" << std::endl;
  }
  return behaviour == "exit1" ? 1 : 0;
}
