#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <vector>

#include "cdi/descriptor.h"

namespace cdi {

/// Bytes that can be read anywhere. `read` is only asked for what lies within `size`; several threads may do
/// so at a time.
struct Source {
  std::uint64_t size;
  std::function<void(std::uint64_t offset, std::span<std::byte> buffer)> read;

  /// The bytes from `offset` on. Throws `FormatError` if they do not all lie within the source.
  std::vector<std::byte> Bytes(std::uint64_t offset, std::size_t length) const;
};

/// What is read is no image of this format.
struct FormatError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The end of the file is not that of an image.
struct NoDescriptor : FormatError {
  using FormatError::FormatError;
};

/// A sector that no data track, or not the file, holds.
struct OutsideTracks : FormatError {
  using FormatError::FormatError;
};

/// Lengths are in sectors.
struct Track {
  std::uint32_t session;  ///< from 0
  std::uint32_t mode;     ///< `track_block::Audio`, `Mode1` or `Mode2`
  std::int64_t lba;       ///< of the first sector behind the pregap
  std::uint64_t pregap;
  std::uint64_t length;      ///< without the pregap
  std::uint64_t total;       ///< with the pregap, as the descriptor has it
  std::uint64_t totalAgain;  ///< the same, at the second place in the descriptor
  std::uint32_t sectorSize;  ///< bytes; 0 if the descriptor has none that is known
  std::uint64_t offset;      ///< where the first sector behind the pregap lies in the file
  std::uint64_t stored;  ///< how much of `length` the file holds within `total`: no byte lies in two tracks

  bool IsData() const { return mode != track_block::Audio && sectorSize != 0; }
};

struct Image {
  Source source;
  std::uint32_t version;
  std::uint32_t sessions;  ///< without those that are open, which have no track yet
  std::uint64_t descriptorOffset;
  std::uint64_t tracksEnd;  ///< where the tracks end by their lengths
  std::vector<Track> tracks;

  /// The tracks of the last session.
  std::span<const Track> LastSession() const;

  /// The first `length` bytes of user data from the sector `lba` on, 2048 of each, in whatever data tracks
  /// they lie. Throws `OutsideTracks`.
  std::vector<std::byte> UserData(std::int64_t lba, std::size_t length) const;
};

/// Reads the descriptor of an image of version 2, 3 or 3.5. Throws `FormatError`. Numbers that contradict
/// each other are given as they stand.
Image ParseImage(const Source& source);

}  // namespace cdi
