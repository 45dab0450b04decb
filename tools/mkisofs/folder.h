#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace mkisofs {

/// A file or a folder that goes into the image.
struct Entry {
  std::wstring path;  ///< on this host, however long
  std::wstring name;  ///< in the image: from its root on, parted by "/"
  bool isFolder;
  std::uint64_t size;  ///< in bytes; 0 for a folder
  std::time_t changed;
};

/// Lists the folder at `path` and those below, each folder before its contents. Links are left out, with a
/// warning, and so is what matches one of the patterns by its name or its path: that of the folder as given,
/// and on from there. Raises a `FileError` if a folder cannot be read, a file is too large for an image, or
/// two names in one folder are equal to a reader that sees no more than 64 characters of them.
std::vector<Entry> ListFolder(const std::string& path, const std::vector<std::wstring>& excluded);

/// Gives as many bytes of a file as it had to `take`, piece by piece. A `FileError` if it cannot be read or
/// has fewer by now.
void ReadFile(const Entry& file, const std::function<void(std::span<const std::byte>)>& take);

}  // namespace mkisofs
