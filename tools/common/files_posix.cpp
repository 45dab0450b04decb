#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <utility>

#include "common/files.h"

namespace tools {
namespace {

[[noreturn]] void Fail(const std::string& path) {
  throw FileError(path, std::strerror(errno));
}

int Descriptor(const FileHandle& file) {
  return static_cast<int>(file.Value());
}

/// Returns the path of the file that a link leads to, or `path` itself.
std::string FollowLink(const std::string& path) {
  std::array<char, PATH_MAX> target{};
  return ::realpath(path.c_str(), target.data()) != nullptr ? std::string(target.data()) : path;
}

/// Returns an unused path in the folder of `target`. The time keeps even processes with the same number
/// apart, as in two containers that share the folder.
std::string PartPath(const std::string& target) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return target.substr(0, target.rfind('/') + 1) + ".part-" + std::to_string(now.count());
}

std::array<char, PATH_MAX> unfinished{};

void RemoveUnfinishedAndEnd(int signal) {
  ::unlink(unfinished.data());
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

/// Removes the file at `path` if a signal ends the process. A signal that is ignored, as with nohup, stays
/// so.
void RemoveOnSignal(const std::string& path) {
  path.copy(unfinished.data(), unfinished.size() - 1);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_IGN) ::signal(signal, RemoveUnfinishedAndEnd);
  }
}

}  // namespace

bool FileHandle::Close() {
  const auto descriptor = static_cast<int>(std::exchange(value_, -1));
  return descriptor == -1 || ::close(descriptor) == 0;
}

PartFile::~PartFile() {
  if (!path.empty()) ::unlink(path.c_str());
}

InputFile::InputFile(const std::string& path)
    : path_(path), file_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {  // or a pipe would wait
  struct stat status {};
  if (!file_.IsOpen() || ::fstat(Descriptor(file_), &status) != 0) Fail(path_);
  if (!S_ISREG(status.st_mode)) throw FileError(path_, "not a file");
  size_ = static_cast<std::uint64_t>(status.st_size);
}

void InputFile::ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const {
  while (!buffer.empty()) {
    const ssize_t count =
        ::pread(Descriptor(file_), buffer.data(), buffer.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(path_);
    if (count == 0) throw FileError(path_, "became shorter while it was read");
    buffer = buffer.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

OutputFile::OutputFile(const std::string& path) : path_(path), target_(FollowLink(path)) {
  struct stat status {};
  if (::stat(target_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) throw FileError(path_, "not a file");
  std::string partPath = PartPath(target_);
  RemoveOnSignal(partPath);
  file_ = FileHandle(::open(partPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file_.IsOpen()) Fail(path_);
  part_.path = std::move(partPath);
}

void OutputFile::Reserve(std::uint64_t size) {
  const auto length = static_cast<off_t>(size);
  if (::ftruncate(Descriptor(file_), length) != 0) Fail(path_);
  if (length == 0) return;
  int result = 0;
  do {
    result = ::fallocate(Descriptor(file_), 0, 0, length);
  } while (result != 0 && errno == EINTR);
  if (result != 0 && errno != EOPNOTSUPP && errno != ENOSYS) Fail(path_);
}

void OutputFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::pwrite(Descriptor(file_), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(path_);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

void OutputFile::Commit() {
  if (!file_.Close() || ::rename(part_.path.c_str(), target_.c_str()) != 0) Fail(path_);
  part_.path.clear();
}

const char* const PathSeparators = "/";

bool StandardErrorIsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

}  // namespace tools
