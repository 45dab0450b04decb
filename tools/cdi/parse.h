#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <vector>

#include "cdi/descriptor.h"

namespace cdi {

/// Bytes that can be read anywhere. `read` is only asked for what lies within `size`.
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

struct Track {
  std::uint32_t session;     ///< from 0
  std::uint32_t mode;        ///< `track_block::Audio`, `Mode1` or `Mode2`
  std::uint32_t pregap;      ///< sectors
  std::uint32_t length;      ///< sectors, without the pregap
  std::uint32_t total;       ///< sectors, with the pregap, as the descriptor has it
  std::uint32_t start;       ///< LBA
  std::uint32_t sectorSize;  ///< bytes; 0 if the descriptor has none that is known
  std::uint64_t offset;      ///< where the track's first sector behind its pregap lies in the file
};

struct Image {
  std::uint32_t version;
  std::uint32_t sessions;
  std::uint64_t descriptorOffset;
  std::uint64_t tracksEnd;  ///< where the tracks end by their lengths
  std::vector<Track> tracks;
};

/// Reads the descriptor of an image of version 2, 3 or 3.5. Throws `FormatError`. Numbers that contradict
/// each other are given as they stand.
Image ParseImage(const Source& source);

}  // namespace cdi
