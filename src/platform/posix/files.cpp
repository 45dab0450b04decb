#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/cut_off.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/encoding.h"
#include "platform/posix/host_error.h"

namespace platform {
namespace {

using posix::Descriptor;
using posix::HostPath;
using posix::RaiseHostError;
using posix::RaiseHostErrorOnCreate;

constexpr int NoFile = -1;
int openFile = NoFile;

std::size_t ReadSome(int file, std::span<std::byte> buffer) {
  for (;;) {
    const ssize_t count = ::read(file, buffer.data(), buffer.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) RaiseHostError(errno);
  }
}

void WriteAll(int file, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      RaiseHostError(errno);
    }
  }
}

void CopyContents(int from, int to) {
  std::vector<std::byte> buffer(std::size_t{64} * 1024);
  while (const std::size_t count = ReadSome(from, buffer)) WriteAll(to, std::span(buffer).first(count));
}

/// Copies mode and times where the volume allows it. One whose files all belong to another user (a shared
/// folder, a FAT drive) refuses both, and nobody needs them.
void CopyModeAndTimes(const struct stat& from, int to) {
  const timespec times[] = {from.st_atim, from.st_mtim};
  ::fchmod(to, from.st_mode & 07777);
  ::futimens(to, times);
}

/// Moves a file where rename cannot. The source is deleted only after the copy is on the disk, and an
/// incomplete copy is removed.
void MoveByCopy(const std::string& from, const std::string& to) {
  const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!source.IsOpen() || ::fstat(source.Number(), &status) != 0) RaiseHostError(errno);

  const mode_t mode = (status.st_mode & 0777) | S_IWUSR;
  const Descriptor target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!target.IsOpen()) RaiseHostErrorOnCreate(errno);
  try {
    CopyContents(source.Number(), target.Number());
    CopyModeAndTimes(status, target.Number());
    if (::fsync(target.Number()) != 0) RaiseHostError(errno);
    if (::unlink(from.c_str()) != 0) RaiseHostError(errno);
  } catch (...) {
    ::unlink(to.c_str());
    throw;
  }
}

LocalTime ToLocal(const timespec& time) {
  // A file system may have dates that do not fit into 64 bits of 100 nanoseconds.
  constexpr std::int64_t limit = 900'000'000'000;
  const std::time_t now = std::time(nullptr);
  struct tm local {};
  localtime_r(&now, &local);
  const std::chrono::seconds seconds(std::clamp<std::int64_t>(time.tv_sec, -limit, limit) + local.tm_gmtoff);
  return LocalTime(seconds + LocalTime::duration(time.tv_nsec / 100));
}

bool IsVisibleFile(DIR* folder, const char* name) {
  struct stat status {};
  return name[0] != '.' && ::fstatat(dirfd(folder), name, &status, 0) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

bool PathExists(const Text& path) {
  struct stat status {};
  return !posix::IsCutOff() && ::stat(HostPath(path).c_str(), &status) == 0;
}

void ResetAttributes(const Text& path) {
  const std::string name = HostPath(path);
  struct stat status {};
  if (::lstat(name.c_str(), &status) != 0) RaiseHostError(errno);
  if (S_ISLNK(status.st_mode)) return;  // a link has no mode of its own, and its target is not meant
  if (::chmod(name.c_str(), (status.st_mode & 07777) | S_IWUSR) != 0) RaiseHostError(errno);
}

void Remove(const Text& path) {
  if (::unlink(HostPath(path).c_str()) != 0) RaiseHostError(errno);
}

void Move(const Text& from, const Text& to) {
  const std::string source = HostPath(from);
  const std::string target = HostPath(to);
  struct stat status {};
  const bool sourceExists = ::lstat(source.c_str(), &status) == 0;
  const bool isLink = sourceExists && S_ISLNK(status.st_mode);
  if (isLink) return MoveByCopy(source, target);  // a relative one would lead nowhere from its new place

  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return;
  const int error = errno;
  // A rename cannot cross volumes, and some file systems and kernels have none without replacing.
  const bool mustCopy = error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
  if (mustCopy) return MoveByCopy(source, target);
  if (sourceExists) RaiseHostErrorOnCreate(error);
  RaiseHostError(error);
}

std::optional<Text> FirstMatch(const Text& pattern) {
  const std::string path = HostPath(pattern);
  const std::size_t nameStart = path.rfind('/') + 1;  // without a separator: 0
  const std::string folderName = nameStart == 0 ? "." : path.substr(0, nameStart);
  const std::string namePattern = path.substr(nameStart);

  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(folderName.c_str()), ::closedir);
  if (!folder) return std::nullopt;

  // A folder lists its names in any order: the smallest makes a run reproducible.
  std::optional<std::string> first;
  while (const dirent* entry = ::readdir(folder.get())) {
    const char* name = entry->d_name;
    if (::fnmatch(namePattern.c_str(), name, 0) != 0 || !IsVisibleFile(folder.get(), name)) continue;
    if (!first || name < *first) first = name;
  }
  if (!first) return std::nullopt;
  return posix::Widen(*first);
}

LocalTime FileTime(const Text& path) {
  struct stat status {};
  if (::stat(HostPath(path).c_str(), &status) != 0) RaiseHostError(errno);
  return ToLocal(status.st_mtim);
}

LocalTime PresentTime() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return ToLocal(now);
}

void Open(const Text& path) {
  openFile = ::open(HostPath(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (openFile < 0) RaiseHostErrorOnCreate(errno);
}

std::uint64_t Length() {
  struct stat status {};
  if (::fstat(openFile, &status) != 0) RaiseHostError(errno);
  return static_cast<std::uint64_t>(status.st_size);
}

void Seek(std::uint64_t position) {
  if (::lseek(openFile, static_cast<off_t>(position), SEEK_SET) < 0) RaiseHostError(errno);
}

void Read(std::span<std::byte> buffer) {
  while (!buffer.empty()) {
    const std::size_t count = ReadSome(openFile, buffer);
    if (count == 0) return;
    buffer = buffer.subspan(count);
  }
}

void Write(std::span<const std::byte> bytes) {
  WriteAll(openFile, bytes);
}

void Close() {
  const int file = openFile;
  openFile = NoFile;
  if (::close(file) != 0 && errno != EINTR) RaiseHostError(errno);
}

}  // namespace platform
