#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/encoding.h"
#include "platform/posix/host_error.h"
#include "platform/posix/interrupt.h"
#include "platform/posix/spawn.h"

namespace platform {
namespace {

std::string ExecutablePath() {
  std::array<char, 4096> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length < 0) posix::RaiseHostError(errno);
  if (static_cast<std::size_t>(length) == path.size()) posix::RaiseHostError(ENAMETOOLONG);
  return {path.data(), static_cast<std::size_t>(length)};
}

bool IsFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// The tool as this host has it: without ".exe", in the folder that the line names or else on PATH.
std::string FindTool(const std::string& named) {
  const std::string tool = named.ends_with(".exe") ? named.substr(0, named.size() - 4) : named;
  return IsFile(tool) ? tool : tool.substr(tool.rfind('/') + 1);
}

}  // namespace

Text RawCommandLine() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::string line(std::istreambuf_iterator<char>(file), {});
  line.erase(0, line.find('\0') + 1);  // the program's own name
  if (line.ends_with('\0')) line.pop_back();
  for (char& c : line) {
    if (c == '\0') c = ' ';
  }
  return posix::Widen(line);
}

Text AppDir() {
  const std::string path = ExecutablePath();
  return posix::Widen(path.substr(0, path.rfind('/') + 1));
}

Text ExecutableName() {
  const std::string path = ExecutablePath();
  return posix::Widen(path.substr(path.rfind('/') + 1));
}

/// A folder of the user's own: in a shared one, anybody could put a link where a fixed name is written.
Text TempFolder() {
  const char* configured = std::getenv("TMPDIR");
  const std::string parent = configured != nullptr && *configured != '\0' ? configured : "/tmp";
  const std::string folder = parent + "/marrowvan-" + std::to_string(::geteuid());
  ::mkdir(folder.c_str(), 0700);

  struct stat status {};
  const bool isOurs = ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                      status.st_uid == ::geteuid() && (status.st_mode & 0777) == 0700;
  return isOurs ? posix::Widen(folder + "/") : Text();
}

void EndProcess(int status) {
  std::_Exit(status);
}

void StartAndWait(const Text& commandLine, int showStyle) {
  std::vector<std::string> arguments = posix::SplitCommandLine(posix::Narrow(commandLine));
  arguments.front() = FindTool(arguments.front());
  const posix::Descriptor nowhere(showStyle == 0 ? ::open("/dev/null", O_WRONLY | O_CLOEXEC) : -1);
  const posix::InterruptsNoted whileTheToolRuns;
  const auto tool = posix::Spawn(arguments.front(), arguments, nowhere.Number(), nowhere.Number());
  if (tool) posix::WaitForSuccess(*tool);
}

std::int32_t TickCount() {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(time.tv_sec * 1000 + time.tv_nsec / 1'000'000));
}

}  // namespace platform
