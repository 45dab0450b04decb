#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cdi/image.h"

namespace cdicheck {

struct FileEntry {
  std::string path;  ///< from the root, without a slash at the start and without a version
  std::uint32_t lba;
  std::uint32_t size;
  bool hasVersion;  ///< recorded with ";1"
};

struct UnreadableFolder {
  std::string path;  ///< like that of a file, with a slash at the end
  std::string reason;
};

/// An ISO 9660 volume (ECMA-119).
struct Volume {
  std::string name;
  std::vector<FileEntry> files;
  std::optional<UnreadableFolder> unreadable;  ///< the first one; its files are missing in `files`
};

/// The volume was made for another address on the disc.
struct WrongAddress : cdi::FormatError {
  using FormatError::FormatError;
};

/// Reads the volume of the track that begins at LBA `start`. Its extents are absolute and can be in other
/// data tracks. Throws `WrongAddress`, and `cdi::FormatError` if there is no volume, if its root is damaged,
/// or if it is larger than any disc.
Volume ReadVolume(const cdi::Image& image, std::int64_t start);

}  // namespace cdicheck
