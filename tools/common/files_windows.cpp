#include <windows.h>

#include <algorithm>

#include "common/files.h"

namespace tools {

const char* const PathSeparators = "\\/:";

namespace {

constexpr std::size_t LargestTransfer = 1 << 30;

/// The system's own words for the calling thread's last error.
[[noreturn]] void Fail(const std::string& path) {
  std::string reason(512, '\0');
  const DWORD length =
      ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, ::GetLastError(),
                       0, reason.data(), static_cast<DWORD>(reason.size()), nullptr);
  reason.resize(reason.find_last_not_of("\r\n .", length) + 1);
  throw FileError(path, reason);
}

bool IsNoFile(HANDLE file, const std::string& path) {
  const DWORD attributes = ::GetFileAttributesA(path.c_str());
  const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder || (file != INVALID_HANDLE_VALUE && ::GetFileType(file) != FILE_TYPE_DISK);
}

}  // namespace

InputFile::InputFile(const std::string& path)
    : path_(path),
      file_(::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                          FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {
  if (IsNoFile(file_, path_)) throw FileError(path_, "not a file");
  LARGE_INTEGER size{};
  if (file_ == INVALID_HANDLE_VALUE || !::GetFileSizeEx(file_, &size)) Fail(path_);
  size_ = static_cast<std::uint64_t>(size.QuadPart);
}

InputFile::~InputFile() {
  ::CloseHandle(file_);
}

void InputFile::Read(std::span<std::byte> buffer) {
  while (!buffer.empty()) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min(buffer.size(), LargestTransfer));
    if (!::ReadFile(file_, buffer.data(), wanted, &count, nullptr)) Fail(path_);
    if (count == 0) throw FileError(path_, "became shorter while it was read");
    buffer = buffer.subspan(count);
  }
}

OutputFile::OutputFile(const std::string& path)
    : path_(path),
      target_(path),
      partPath_(path.substr(0, path.find_last_of(PathSeparators) + 1) + ".part-" +
                std::to_string(::GetCurrentProcessId())),
      file_(INVALID_HANDLE_VALUE) {
  if (IsNoFile(INVALID_HANDLE_VALUE, target_)) throw FileError(path_, "not a file");
  file_ =
      ::CreateFileA(partPath_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file_ == INVALID_HANDLE_VALUE) Fail(path_);
}

OutputFile::~OutputFile() {
  if (committed_) return;
  ::CloseHandle(file_);
  ::DeleteFileA(partPath_.c_str());
}

void OutputFile::Write(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min(bytes.size(), LargestTransfer));
    if (!::WriteFile(file_, bytes.data(), wanted, &count, nullptr)) Fail(path_);
    bytes = bytes.subspan(count);
  }
}

void OutputFile::Commit() {
  if (!::CloseHandle(std::exchange(file_, INVALID_HANDLE_VALUE))) Fail(path_);
  if (!::MoveFileExA(partPath_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING)) Fail(path_);
  committed_ = true;
}

bool StandardErrorIsTerminal() {
  DWORD mode = 0;
  return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

}  // namespace tools
