#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cdi/sector.h"

/// The DiscJuggler image of a self-booting disc: an audio session of silence, then a session with one Mode 2
/// Form 1 track, then a descriptor of both. Numbers are little-endian, lengths of time are in sectors.
namespace cdi {

inline constexpr std::uint32_t PregapLength = 150;
inline constexpr std::uint32_t AudioLength = 302;

/// Between two sessions are 11400 sectors of lead-out, lead-in and pregap.
inline constexpr std::uint32_t DataTrackStart = AudioLength + 11400;

/// The offset of the data track in the image, after the two pregaps and the audio track.
inline constexpr std::uint64_t DataTrackOffset = std::uint64_t{PregapLength + AudioLength} * AudioSectorSize +
                                                 std::uint64_t{PregapLength} * StoredSectorSize;

/// Returns the descriptor at the end of an image of version 3.5 whose data track has `dataLength` sectors.
/// `fileName` is the name of the image without its folder. Only its first 255 bytes count.
std::vector<std::byte> MakeDescriptor(const std::string& fileName, const std::string& volumeName,
                                      std::uint32_t dataLength);

}  // namespace cdi
