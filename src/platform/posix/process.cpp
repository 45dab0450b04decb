#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_errors.h"
#include "platform/platform.h"
#include "platform/posix/cut_off.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/encoding.h"
#include "platform/posix/host_error.h"
#include "platform/posix/process.h"
#include "platform/posix/spawn.h"

namespace platform {
namespace {

std::span<const char* const> keptArguments;

std::string ExecutablePath() {
  std::array<char, 4096> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length < 0) throw DeviceError;  // /proc is not mounted
  if (static_cast<std::size_t>(length) == path.size()) posix::RaiseHostError(ENAMETOOLONG);
  const std::string name(path.data(), static_cast<std::size_t>(length));
  // The kernel marks the name of a program that was deleted or replaced since its start.
  constexpr std::string_view deleted = " (deleted)";
  const bool isMarked = name.ends_with(deleted) && ::access(name.c_str(), F_OK) != 0;
  return isMarked ? name.substr(0, name.size() - deleted.size()) : name;
}

bool IsFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Returns the programs to try for a tool, in this order. Without ".exe", it is in the folder that the
/// command line names or on PATH, where the programs that take the options of mkisofs have several names.
std::vector<std::string> ListToolNames(const std::string& named) {
  const std::string tool = named.ends_with(".exe") ? named.substr(0, named.size() - 4) : named;
  if (IsFile(tool)) return {tool};
  const std::string name = tool.substr(tool.rfind('/') + 1);
  if (name == "mkisofs") return {name, "xorrisofs", "genisoimage"};
  return {name};
}

/// Creates a folder at `path` if there is nothing. Returns true if the path is a folder that belongs to the
/// user and that nobody else can enter.
bool MakePrivateFolder(const std::string& path) {
  ::mkdir(path.c_str(), 0700);
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
         (status.st_mode & 0777) == 0700;
}

}  // namespace

void posix::KeepArguments(int count, const char* const* arguments) {
  keptArguments = {arguments, static_cast<std::size_t>(count)};
}

Text RawCommandLine() {
  std::string line;
  for (const char* argument : keptArguments.subspan(std::min<std::size_t>(1, keptArguments.size()))) {
    if (!line.empty()) line += ' ';
    line += argument;
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

/// In a shared folder, another user could plant a link under a fixed name. In one folder for all copies of
/// the program, two runs would overwrite each other's files.
Text TempFolder() {
  const char* configured = std::getenv("TMPDIR");
  const std::string parent = configured != nullptr && *configured != '\0' ? configured : "/tmp";
  const std::string users = parent + "/marrowvan-" + std::to_string(::geteuid());
  struct stat app {};
  if (::stat(posix::HostPath(AppDir()).c_str(), &app) != 0 || !MakePrivateFolder(users)) return {};
  const std::string ours = users + "/" + std::to_string(app.st_dev) + "-" + std::to_string(app.st_ino);
  return MakePrivateFolder(ours) ? posix::Widen(ours + "/") : Text();
}

void EndProcess(int status) {
  std::_Exit(status);
}

void HoldInterruptsDuring(const std::function<void()>& work) {
  const posix::SignalsNoted untilTheEnd;
  work();
}

void StartAndWait(const Text& commandLine, int showStyle) {
  std::vector<std::string> arguments = posix::SplitCommandLine(posix::Narrow(commandLine));
  const posix::Descriptor nowhere(showStyle == 0 ? ::open("/dev/null", O_WRONLY | O_CLOEXEC) : -1);
  const posix::SignalsNoted whileTheToolRuns;
  if (posix::IsCutOff()) return;
  for (const std::string& name : ListToolNames(arguments.front())) {
    arguments.front() = name;
    const auto tool = posix::Spawn(name, arguments, nowhere.Number(), nowhere.Number());
    if (!tool) continue;
    posix::WaitForTool(*tool);
    return;
  }
}

std::int32_t TickCount() {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(time.tv_sec) * 1000 +
                                   static_cast<std::uint32_t>(time.tv_nsec / 1'000'000));
}

}  // namespace platform
