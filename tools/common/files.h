#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

namespace tools {

/// A failure that ends a tool. The text names the file and the reason.
struct FileError : std::runtime_error {
  FileError(const std::string& path, const std::string& reason) : std::runtime_error(path + ": " + reason) {}
};

/// A file that is read. Every failure is a `FileError`.
class InputFile {
 public:
  explicit InputFile(const std::string& path);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  const std::string& Path() const { return path_; }

  /// The length in bytes.
  std::uint64_t Size() const { return size_; }

  /// Fills `buffer` with the bytes from `offset` on. Fails if the file ends before it is full. Several
  /// threads may read at a time.
  void ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const;

 private:
  std::string path_;
  std::intptr_t file_;  ///< the host's descriptor or handle
  std::uint64_t size_ = 0;
};

/// A file that appears complete or not at all: it is written beside its place under a name of its own and
/// moves there, over an older file, only in `Commit`. Every failure is a `FileError`.
class OutputFile {
 public:
  /// Refuses a place where something stands that is no file. Where the host has links, one
  /// to a file is followed.
  explicit OutputFile(const std::string& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Gives the file its length and, where the host can, its place on the disk. What nobody writes is zero.
  void Reserve(std::uint64_t size);

  /// Several threads may write at a time.
  void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);

  void Commit();

 private:
  std::string path_;
  std::string target_;
  std::string partPath_;
  std::intptr_t file_;  ///< the host's descriptor or handle
  bool committed_ = false;
};

bool StandardErrorIsTerminal();

/// The characters that separate a file name from its folder on this host.
extern const char* const PathSeparators;

}  // namespace tools
