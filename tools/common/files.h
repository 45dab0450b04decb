#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace tools {

/// A failure that ends a tool. The text names the file and the reason.
struct FileError : std::runtime_error {
  FileError(const std::string& path, const std::string& reason) : std::runtime_error(path + ": " + reason) {}
};

/// What the host calls an open file: a descriptor or a handle. It is closed at the end of its life.
class FileHandle {
 public:
  /// Both hosts give -1 for a file that could not be opened.
  explicit FileHandle(std::intptr_t value = -1) : value_(value) {}
  FileHandle& operator=(FileHandle&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~FileHandle() { Close(); }

  std::intptr_t Value() const { return value_; }
  bool IsOpen() const { return value_ != -1; }

  /// Closes what is open. False if the host reports a failure then, which may be that of an earlier write.
  bool Close();

 private:
  std::intptr_t value_;
};

/// The file at `path` is removed at the end of its life. An empty path is none.
struct PartFile {
  PartFile() = default;
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;
  ~PartFile();

  std::string path;
};

/// A file that is read. Every failure is a `FileError`.
class InputFile {
 public:
  explicit InputFile(const std::string& path);

  const std::string& Path() const { return path_; }

  /// The length in bytes.
  std::uint64_t Size() const { return size_; }

  /// Fills `buffer` with the bytes from `offset` on. Fails if the file ends before it is full. Several
  /// threads may read at a time.
  void ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const;

 private:
  std::string path_;
  FileHandle file_;
  std::uint64_t size_ = 0;
};

/// A file that appears complete or not at all: it comes to its place, over an older file, only in `Commit`.
/// Until then the host removes it if the process ends, however that may be; it is written without a name, or
/// under one of its own beside its place. Where a POSIX file system or kernel has no files without a name, a
/// process that is killed leaves it. Every failure is a `FileError`.
class OutputFile {
 public:
  /// Refuses a place where something stands that is no file. Where the host has links, one to a file is
  /// followed.
  explicit OutputFile(const std::string& path);

  /// Gives the file its length and, where the host can, its place on the disk. What nobody writes is zero.
  void Reserve(std::uint64_t size);

  /// Several threads may write at a time.
  void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);

  /// Fails too if the host reports an earlier failure only when the file is closed.
  void Commit();

 private:
  std::string path_;
  std::string target_;
  PartFile part_;
  FileHandle file_;  // behind the part file, so that it is closed before that is removed
};

bool StandardErrorIsTerminal();

/// The characters that separate a file name from its folder on this host.
extern const char* const PathSeparators;

}  // namespace tools
