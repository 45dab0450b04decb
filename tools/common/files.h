#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace tools {

/// A failure that ends a tool. The text contains the path and the reason.
struct FileError : std::runtime_error {
  FileError(const std::string& path, const std::string& reason) : std::runtime_error(path + ": " + reason) {}
};

/// An open file of the host: a descriptor or a handle. The destructor closes it.
class FileHandle {
 public:
  /// On both hosts, -1 is a file that could not be opened.
  explicit FileHandle(std::intptr_t value = -1) : value_(value) {}
  FileHandle& operator=(FileHandle&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~FileHandle() { Close(); }

  std::intptr_t Value() const { return value_; }
  bool IsOpen() const { return value_ != -1; }

  /// Closes the file if it is open. Returns false if the host reports a failure, which may be that of an
  /// earlier write.
  bool Close();

 private:
  std::intptr_t value_;
};

/// Removes the file at `path` in the destructor, unless the path is empty.
struct PartFile {
  PartFile() = default;
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;
  ~PartFile();

  std::string path;
};

/// A file to read. Every failure is a `FileError`, also a path to anything but a regular file.
class InputFile {
 public:
  explicit InputFile(const std::string& path);

  const std::string& Path() const { return path_; }

  /// The length in bytes.
  std::uint64_t Size() const { return size_; }

  /// Fills `buffer` with the bytes from `offset` on. Fails if the file ends too early. Several threads can
  /// read at once.
  void ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const;

 private:
  std::string path_;
  FileHandle file_;
  std::uint64_t size_ = 0;
};

/// A file that appears complete or not at all. The bytes go to a part file in the same folder, whose name
/// begins with ".part-". `Commit` moves it to its place, over an older file. If the tool fails or is
/// interrupted, the part file is removed. A POSIX host cannot do that for a killed tool: the part file stays.
/// Every failure is a `FileError`.
class OutputFile {
 public:
  /// Fails if `path` is a folder, a device or a pipe. On POSIX, a link to a file is followed.
  explicit OutputFile(const std::string& path);

  /// Sets the length of the file and, if the host can, reserves its space on the disk. Bytes that are never
  /// written are zero.
  void Reserve(std::uint64_t size);

  /// Several threads can write at once.
  void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);

  /// Moves the complete file to its place. Fails if the host reports an earlier failure only now.
  void Commit();

 private:
  std::string path_;
  std::string target_;
  PartFile part_;
  FileHandle file_;  // after the part file, because the host must close it before it removes that
};

bool StandardErrorIsTerminal();

/// The characters that separate a file name from its folder on this host.
extern const char* const PathSeparators;

}  // namespace tools
