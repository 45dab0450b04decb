#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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
  std::uint64_t tracksEnd;  ///< the end of the last track by the lengths of all tracks
  std::vector<Track> tracks;

  /// Returns the tracks of the last session.
  std::span<const Track> LastSession() const;

  /// Returns `length` bytes of user data from sector `lba` on, 2048 of each sector, from any data tracks.
  /// Throws `OutsideTracks`.
  std::vector<std::byte> UserData(std::int64_t lba, std::size_t length) const;
};

/// Reads the descriptor of an image of version 2, 3 or 3.5. Accepts numbers that contradict each other.
/// Throws `NoDescriptor` if the source does not end like an image, `FormatError` if the descriptor is
/// damaged.
Image ParseImage(const Source& source);

}  // namespace cdi
