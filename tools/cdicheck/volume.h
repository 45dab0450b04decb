#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cdi/parse.h"

namespace cdicheck {

struct FileEntry {
  std::string path;  ///< from the root, without a slash in front and without a version
  std::uint32_t lba;
  std::uint32_t size;
  bool hasVersion;  ///< recorded with ";1"
};

struct UnreadableFolder {
  std::string path;  ///< like a file's, with a slash behind it
  std::string reason;
};

/// An ISO 9660 volume (ECMA-119).
struct Volume {
  std::string name;
  std::vector<FileEntry> files;
  std::optional<UnreadableFolder> unreadable;  ///< the first such folder; its files are missing in `files`
};

/// Reads the volume of the track that begins at LBA `start`. Its extents are absolute and may lie in other
/// data tracks. Throws `cdi::FormatError` if there is none, if its root cannot be read, or if it is larger
/// than any disc.
Volume ReadVolume(const cdi::Image& image, std::int64_t start);

}  // namespace cdicheck
