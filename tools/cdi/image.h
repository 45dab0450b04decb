#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

#include "cdi/descriptor.h"

namespace cdi {

/// The bytes of an image. `read` is only called for ranges within `size`, by several threads at once.
struct Source {
  std::uint64_t size;
  std::function<void(std::uint64_t offset, std::span<std::byte> buffer)> read;

  /// Returns the bytes from `offset` on. Throws `FormatError` if the source ends too early.
  std::vector<std::byte> Bytes(std::uint64_t offset, std::size_t length) const;
};

/// The source is not an image of this format.
struct FormatError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The descriptor has a version that is not known.
struct UnknownVersion : FormatError {
  using FormatError::FormatError;
};

/// The source does not end like an image.
struct NoDescriptor : FormatError {
  using FormatError::FormatError;
};

/// A sector is not in a data track, or not in the file.
struct OutsideTracks : FormatError {
  using FormatError::FormatError;
};

/// Lengths are in sectors.
struct Track {
  std::uint32_t session;  ///< from 0
  std::uint32_t mode;     ///< `track_block::Audio`, `Mode1` or `Mode2`
  std::int64_t lba;       ///< of the first sector after the pregap
  std::uint64_t pregap;
  std::uint64_t length;      ///< without the pregap
  std::uint64_t total;       ///< with the pregap, as the descriptor says
  std::uint64_t totalAgain;  ///< the same, from its second field in the descriptor
  std::uint32_t sectorSize;  ///< bytes; 0 if unknown
  std::uint64_t offset;      ///< of the first sector after the pregap, in the file
  std::uint64_t stored;      ///< the part of `length` that is in the file and within `total`

  bool IsData() const { return mode != track_block::Audio && sectorSize != 0; }
};

struct Image {
  Source source;
  std::uint32_t version;
  std::uint32_t sessions;  ///< without open sessions, which have no track yet
  std::uint64_t descriptorOffset;
  std::uint64_t bytesAfter;                   ///< the descriptor, which the file should end with
  std::optional<std::uint64_t> unusualValue;  ///< offset of the first value that no known program writes
  bool hasOtherIndexesOrCdText;               ///< a track has CD-Text, or not two index lengths
  std::uint64_t tracksEnd;                    ///< the end of the last track by the lengths of all tracks
  std::vector<Track> tracks;

  /// Returns the tracks of the last session.
  std::span<const Track> LastSession() const;

  /// Returns `length` bytes of user data from sector `lba` on, 2048 of each sector, from any data tracks.
  /// Throws `OutsideTracks`.
  std::vector<std::byte> UserData(std::int64_t lba, std::size_t length) const;

  /// Returns true if all sectors from LBA `first` up to `end` are in data tracks.
  bool AreInDataTracks(std::int64_t first, std::int64_t end) const;
};

/// Reads the descriptor of an image of version 2, 3 or 3.5. Accepts numbers that contradict each other, and
/// bytes after the descriptor. Throws `UnknownVersion` or `NoDescriptor` if there is no such descriptor at
/// the end, and `FormatError` if the descriptor is damaged.
Image ParseImage(const Source& source);

}  // namespace cdi
