#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cdi/parse.h"

namespace cdicheck {

/// The user data of one data track as the disc presents it: sectors of 2048 bytes, by their LBA.
class DataTrack {
 public:
  DataTrack(const cdi::Source& source, const cdi::Track& track) : source_(source), track_(track) {}

  const cdi::Track& Track() const { return track_; }

  /// True if the file holds the whole sector.
  bool Holds(std::uint32_t lba) const;

  /// A sector's user data. Throws `OutsideTrack`.
  std::vector<std::byte> Sector(std::uint32_t lba) const;

  /// The first `length` bytes of what begins at `lba`.
  std::vector<std::byte> Bytes(std::uint32_t lba, std::size_t length) const;

  /// Where the 2336 bytes of a Mode 2 sector begin within a stored one; nothing for other tracks.
  std::uint64_t SubheaderOffset() const;

 private:
  const cdi::Source& source_;
  const cdi::Track& track_;
};

struct FileEntry {
  std::string path;  ///< from the root, without a slash in front and without a version
  std::uint32_t lba;
  std::uint32_t size;
  bool hasVersion;  ///< recorded with ";1" or the like
};

/// A sector that the track, or the file, does not hold.
struct OutsideTrack : cdi::FormatError {
  using FormatError::FormatError;
};

/// An ISO 9660 volume (ECMA-119).
struct Volume {
  std::string name;
  std::uint32_t rootLba;
  std::vector<FileEntry> files;
};

/// Reads the volume of a track whose extents are absolute. Throws `cdi::FormatError` if there is none, or if
/// a folder cannot be read.
Volume ReadVolume(const DataTrack& track);

}  // namespace cdicheck
