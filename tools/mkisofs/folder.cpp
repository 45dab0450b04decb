#include "mkisofs/folder.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/files.h"
#include "common/last_error.h"
#include "mkisofs/pattern.h"
#include "mkisofs/text.h"

namespace mkisofs {
namespace {

constexpr std::size_t JolietNameLength = 64;
constexpr std::uint64_t LargestFile = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t PieceSize = 1 << 16;

/// The last day of 2155 begins: a directory record counts the years from 1900 on in one byte.
constexpr std::time_t LatestTime = 5'869'497'600;

/// Which paths have no limit of length begin with.
constexpr std::wstring_view Unlimited = L"\\\\?\\";
constexpr std::wstring_view UnlimitedShare = L"\\\\?\\UNC\\";

std::string Shown(std::wstring_view path) {
  if (path.starts_with(UnlimitedShare)) return "\\\\" + Narrow(path.substr(UnlimitedShare.size()));
  return Narrow(path.substr(path.starts_with(Unlimited) ? Unlimited.size() : 0));
}

std::wstring WithoutSeparatorsAtEnd(std::wstring path) {
  path.erase(path.find_last_not_of(L"\\/") + 1);
  return path;
}

std::wstring WithoutLimit(const std::wstring& path) {
  std::wstring full(::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  if (full.empty()) throw tools::FileError(Shown(path), tools::LastErrorText());
  full.resize(::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  full = WithoutSeparatorsAtEnd(full);
  if (full.starts_with(Unlimited)) return full;
  if (full.starts_with(L"\\\\")) return std::wstring(UnlimitedShare) + full.substr(2);
  return std::wstring(Unlimited) + full;
}

std::uint64_t Join(DWORD high, DWORD low) {
  return std::uint64_t{high} << 32 | low;
}

/// From tenths of a microsecond since 1601 to seconds since 1970.
std::time_t UnixTime(const FILETIME& time) {
  constexpr std::int64_t TicksPerSecond = 10'000'000;
  constexpr std::int64_t SecondsBetween = 11'644'473'600;
  const auto seconds =
      static_cast<std::int64_t>(Join(time.dwHighDateTime, time.dwLowDateTime)) / TicksPerSecond -
      SecondsBetween;
  return std::clamp<std::time_t>(seconds, 0, LatestTime);
}

/// Links have a tag that says so; files that a service keeps elsewhere have others, and are files.
bool IsLink(const WIN32_FIND_DATAW& found) {
  return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK || found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
}

/// What stands in one folder, by name.
std::map<std::wstring, WIN32_FIND_DATAW> Search(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  const HANDLE first = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (first == INVALID_HANDLE_VALUE) throw tools::FileError(Shown(folder), tools::LastErrorText());
  const std::unique_ptr<void, decltype(&::FindClose)> search(first, ::FindClose);
  std::map<std::wstring, WIN32_FIND_DATAW> all;
  do {
    all.emplace(found.cFileName, found);
  } while (::FindNextFileW(search.get(), &found));
  if (::GetLastError() != ERROR_NO_MORE_FILES) throw tools::FileError(Shown(folder), tools::LastErrorText());
  all.erase(L".");
  all.erase(L"..");
  return all;
}

/// Names with an equal start stand side by side.
void RefuseEqualNames(const std::wstring& folder, const std::map<std::wstring, WIN32_FIND_DATAW>& all) {
  const auto same = [](const auto& one, const auto& other) {
    return one.first.substr(0, JolietNameLength) == other.first.substr(0, JolietNameLength);
  };
  const auto first = std::ranges::adjacent_find(all, same);
  if (first == all.end()) return;
  throw tools::FileError(Shown(folder + L"\\" + first->first),
                         "equal to " + Narrow(std::next(first)->first) + " in its first " +
                             std::to_string(JolietNameLength) + " characters");
}

/// What the caller excludes: the patterns, and the folder as given, with which their paths begin.
struct Exclusion {
  std::wstring folder;
  const std::vector<std::wstring>& patterns;
};

bool IsExcluded(const Exclusion& exclusion, const std::wstring& ownName, const std::wstring& nameInImage) {
  const std::wstring path = exclusion.folder + L"/" + nameInImage;
  return std::ranges::any_of(exclusion.patterns, [&](const std::wstring& pattern) {
    return Matches(pattern, ownName) || Matches(pattern, path);
  });
}

void AddFolder(const std::wstring& folder, const std::wstring& name, const Exclusion& exclusion,
               std::vector<Entry>& entries) {
  auto all = Search(folder);
  std::erase_if(all,
                [&](const auto& found) { return IsExcluded(exclusion, found.first, name + found.first); });
  RefuseEqualNames(folder, all);
  for (const auto& [ownName, found] : all) {
    const std::wstring path = folder + L"\\" + ownName;
    if (IsLink(found)) {
      std::cerr << "mkisofs: " << Shown(path) << ": warning: a link, left out\n";
      continue;
    }
    const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const std::uint64_t size = isFolder ? 0 : Join(found.nFileSizeHigh, found.nFileSizeLow);
    if (size > LargestFile) throw tools::FileError(Shown(path), "larger than a file of an image can be");
    entries.push_back({path, name + ownName, isFolder, size, UnixTime(found.ftLastWriteTime)});
    if (isFolder) AddFolder(path, name + ownName + L"/", exclusion, entries);
  }
}

}  // namespace

std::vector<Entry> ListFolder(const std::string& path, const std::vector<std::wstring>& excluded) {
  std::vector<Entry> entries;
  const std::wstring folder = Wide(path);
  AddFolder(WithoutLimit(folder), L"", {WithoutSeparatorsAtEnd(folder), excluded}, entries);
  return entries;
}

void ReadFile(const Entry& file, const std::function<void(std::span<const std::byte>)>& take) {
  const tools::FileHandle input(reinterpret_cast<std::intptr_t>(
      ::CreateFileW(file.path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr)));
  std::vector<std::byte> piece(PieceSize);
  for (std::uint64_t left = file.size; left > 0;) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min<std::uint64_t>(PieceSize, left));
    const auto handle = reinterpret_cast<HANDLE>(input.Value());
    if (!input.IsOpen() || !::ReadFile(handle, piece.data(), wanted, &count, nullptr))
      throw tools::FileError(Shown(file.path), tools::LastErrorText());
    if (count == 0) throw tools::FileError(Shown(file.path), "became shorter while it was read");
    take(std::span(piece).first(count));
    left -= count;
  }
}

}  // namespace mkisofs
