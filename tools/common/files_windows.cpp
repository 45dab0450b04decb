#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "common/files.h"
#include "common/last_error.h"

namespace tools {

const char* const PathSeparators = "\\/:";

namespace {

constexpr std::size_t LargestTransfer = 1 << 30;

[[noreturn]] void Fail(const std::string& path) {
  throw FileError(path, LastErrorText());
}

HANDLE HandleOf(const FileHandle& file) {
  return reinterpret_cast<HANDLE>(file.Value());
}

FileHandle Open(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
  return FileHandle(reinterpret_cast<std::intptr_t>(
      ::CreateFileA(path.c_str(), access, share, nullptr, disposition,
                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr)));
}

OVERLAPPED At(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

/// Says whether the system removes the file as soon as it is closed, which it is too when its process is
/// ended.
void RemoveWhenClosed(const FileHandle& file, bool remove) {
  FILE_DISPOSITION_INFO disposition{.DeleteFile = remove};
  ::SetFileInformationByHandle(HandleOf(file), FileDispositionInfo, &disposition, sizeof disposition);
}

bool IsFolder(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

std::string LastErrorText() {
  std::string reason(512, '\0');
  const DWORD length =
      ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, ::GetLastError(),
                       0, reason.data(), static_cast<DWORD>(reason.size()), nullptr);
  reason.resize(length);
  reason.resize(reason.find_last_not_of("\r\n .") + 1);
  return reason;
}

bool FileHandle::Close() {
  const auto handle = reinterpret_cast<HANDLE>(std::exchange(value_, -1));
  return handle == INVALID_HANDLE_VALUE || ::CloseHandle(handle);
}

PartFile::~PartFile() {
  if (!path.empty()) ::DeleteFileA(path.c_str());
}

InputFile::InputFile(const std::string& path)
    : path_(path), file_(Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING)) {
  if (IsFolder(path_)) throw FileError(path_, "not a file");
  LARGE_INTEGER size{};
  if (!file_.IsOpen() || !::GetFileSizeEx(HandleOf(file_), &size)) Fail(path_);
  size_ = static_cast<std::uint64_t>(size.QuadPart);
}

void InputFile::ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const {
  while (!buffer.empty()) {
    DWORD count = 0;
    OVERLAPPED place = At(offset);
    const auto wanted = static_cast<DWORD>(std::min(buffer.size(), LargestTransfer));
    const BOOL done = ::ReadFile(HandleOf(file_), buffer.data(), wanted, &count, &place);
    if (!done && ::GetLastError() != ERROR_HANDLE_EOF) Fail(path_);
    if (count == 0) throw FileError(path_, "became shorter while it was read");
    buffer = buffer.subspan(count);
    offset += count;
  }
}

OutputFile::OutputFile(const std::string& path) : path_(path), target_(path) {
  if (IsFolder(target_)) throw FileError(path_, "not a file");
  std::string partPath = target_.substr(0, target_.find_last_of(PathSeparators) + 1) + ".part-" +
                         std::to_string(::GetCurrentProcessId());
  file_ = Open(partPath, GENERIC_WRITE | DELETE, FILE_SHARE_DELETE, CREATE_ALWAYS);
  if (!file_.IsOpen()) Fail(path_);
  part_.path = std::move(partPath);
  RemoveWhenClosed(file_, true);
}

void OutputFile::Reserve(std::uint64_t size) {
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<std::int64_t>(size);
  if (!::SetFilePointerEx(HandleOf(file_), end, nullptr, FILE_BEGIN) || !::SetEndOfFile(HandleOf(file_)))
    Fail(path_);
}

void OutputFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    OVERLAPPED place = At(offset);
    const auto wanted = static_cast<DWORD>(std::min(bytes.size(), LargestTransfer));
    if (!::WriteFile(HandleOf(file_), bytes.data(), wanted, &count, &place)) Fail(path_);
    bytes = bytes.subspan(count);
    offset += count;
  }
}

void OutputFile::Commit() {
  RemoveWhenClosed(file_, false);
  if (!file_.Close() || !::MoveFileExA(part_.path.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING))
    Fail(path_);
  part_.path.clear();
}

bool StandardErrorIsTerminal() {
  DWORD mode = 0;
  return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

}  // namespace tools
