#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <memory>

#include "platform/file_errors.h"
#include "platform/platform.h"
#include "platform/windows/encoding.h"
#include "platform/windows/host_error.h"

namespace platform {
namespace {

using windows::RaiseLastError;
using windows::ToAnsi;

HANDLE openFile = INVALID_HANDLE_VALUE;

/// What one call to read or write may take.
constexpr std::size_t LargestTransfer = 1 << 30;

LocalTime ToLocal(const FILETIME& universal) {
  constexpr std::int64_t from1601To1970 = 116'444'736'000'000'000;
  FILETIME local{};
  ::FileTimeToLocalFileTime(&universal, &local);
  const auto ticks = static_cast<std::uint64_t>(local.dwHighDateTime) << 32 | local.dwLowDateTime;
  return LocalTime(LocalTime::duration(static_cast<std::int64_t>(ticks) - from1601To1970));
}

}  // namespace

bool PathExists(const Text& path) {
  return ::PathFileExistsA(ToAnsi(path).c_str()) != FALSE;
}

void ResetAttributes(const Text& path) {
  if (!::SetFileAttributesA(ToAnsi(path).c_str(), FILE_ATTRIBUTE_NORMAL)) RaiseLastError();
}

void Remove(const Text& path) {
  if (!::DeleteFileA(ToAnsi(path).c_str())) RaiseLastError();
}

void Move(const Text& from, const Text& to) {
  // The call itself allows a move onto the same file, whatever the spelling of its name.
  if (PathExists(from) && PathExists(to)) throw FileAlreadyExists;
  if (!::MoveFileExA(ToAnsi(from).c_str(), ToAnsi(to).c_str(),
                     MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH)) {
    RaiseLastError();
  }
  if (!PathExists(from)) return;
  // To another volume the call also succeeds with a copy, if the source cannot be deleted.
  ::SetFileAttributesA(ToAnsi(to).c_str(), FILE_ATTRIBUTE_NORMAL);
  ::DeleteFileA(ToAnsi(to).c_str());
  throw AccessError;
}

std::optional<Text> FirstMatch(const Text& pattern) {
  constexpr DWORD neverMatches = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  WIN32_FIND_DATAW entry{};
  const HANDLE found = ::FindFirstFileW(pattern.c_str(), &entry);
  if (found == INVALID_HANDLE_VALUE) return std::nullopt;

  const std::unique_ptr<void, decltype(&::FindClose)> listing(found, ::FindClose);
  do {
    if ((entry.dwFileAttributes & neverMatches) == 0) return entry.cFileName;
  } while (::FindNextFileW(listing.get(), &entry));
  return std::nullopt;
}

LocalTime FileTime(const Text& path) {
  WIN32_FILE_ATTRIBUTE_DATA attributes{};
  if (!::GetFileAttributesExA(ToAnsi(path).c_str(), GetFileExInfoStandard, &attributes)) RaiseLastError();
  return ToLocal(attributes.ftLastWriteTime);
}

LocalTime PresentTime() {
  FILETIME now{};
  ::GetSystemTimeAsFileTime(&now);
  return ToLocal(now);
}

void Open(const Text& path) {
  openFile =
      ::CreateFileA(ToAnsi(path).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (openFile == INVALID_HANDLE_VALUE) RaiseLastError();
}

std::uint64_t Length() {
  LARGE_INTEGER length{};
  if (!::GetFileSizeEx(openFile, &length)) RaiseLastError();
  return static_cast<std::uint64_t>(length.QuadPart);
}

void Seek(std::uint64_t position) {
  LARGE_INTEGER distance{};
  distance.QuadPart = static_cast<std::int64_t>(position);
  if (!::SetFilePointerEx(openFile, distance, nullptr, FILE_BEGIN)) RaiseLastError();
}

void Read(std::span<std::byte> buffer) {
  while (!buffer.empty()) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min(buffer.size(), LargestTransfer));
    if (!::ReadFile(openFile, buffer.data(), wanted, &count, nullptr)) RaiseLastError();
    if (count == 0) return;
    buffer = buffer.subspan(count);
  }
}

void Write(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min(bytes.size(), LargestTransfer));
    if (!::WriteFile(openFile, bytes.data(), wanted, &count, nullptr)) RaiseLastError();
    bytes = bytes.subspan(count);
  }
}

void Close() {
  const HANDLE file = openFile;
  openFile = INVALID_HANDLE_VALUE;
  if (!::CloseHandle(file)) RaiseLastError();
}

}  // namespace platform
