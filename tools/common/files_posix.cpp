#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
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

/// Where `path` leads, if it is a link; otherwise `path` itself.
std::string FollowLink(const std::string& path) {
  std::array<char, PATH_MAX> target{};
  return ::realpath(path.c_str(), target.data()) != nullptr ? std::string(target.data()) : path;
}

std::string FolderOf(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

/// A name beside `target` for a file that is to move there.
std::string UnusedPartPath(const std::string& target) {
  std::string path = FolderOf(target) + ".part-" + std::to_string(::getpid());
  ::unlink(path.c_str());  // left by a process that had the same number
  return path;
}

/// What the system calls an open file, even one that stands in no folder.
std::string NameOfOpenFile(const FileHandle& file) {
  return "/proc/self/fd/" + std::to_string(Descriptor(file));
}

/// Gives an open file without a name that of `path`. False if something has it.
bool Link(const FileHandle& file, const std::string& path) {
  const std::string source = NameOfOpenFile(file);
  return ::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

std::array<char, PATH_MAX> unfinished{};

void RemoveUnfinishedAndEnd(int signal) {
  ::unlink(unfinished.data());
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

/// Has the file at `path` removed if the process is told to end.
void RemoveOnSignal(const std::string& path) {
  path.copy(unfinished.data(), unfinished.size() - 1);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (::signal(signal, RemoveUnfinishedAndEnd) == SIG_IGN) ::signal(signal, SIG_IGN);
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
    : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
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
  const std::string folder = FolderOf(target_) + ".";
  file_ = FileHandle(::open(folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666));
  if (file_.IsOpen() && ::access(NameOfOpenFile(file_).c_str(), F_OK) == 0) return;

  // Not every file system has files without a name, nor every system a way to name them.
  std::string partPath = UnusedPartPath(target_);
  file_ = FileHandle(::open(partPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file_.IsOpen()) Fail(path_);
  part_.path = std::move(partPath);
  RemoveOnSignal(part_.path);
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
  if (part_.path.empty()) {  // it gets its name while it is open: its own if nothing has that
    std::string name = target_;
    if (!Link(file_, name)) {
      name = UnusedPartPath(target_);
      if (!Link(file_, name)) Fail(path_);
    }
    part_.path = std::move(name);
  }
  if (!file_.Close()) Fail(path_);
  if (part_.path != target_ && ::rename(part_.path.c_str(), target_.c_str()) != 0) Fail(path_);
  part_.path.clear();
}

const char* const PathSeparators = "/";

bool StandardErrorIsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

}  // namespace tools
