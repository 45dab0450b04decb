#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "disc/iso9660.h"

/// Sectors as an image stores them (ECMA-130; CD-ROM XA for Mode 2 Form 1). Sizes are in bytes.
namespace cdi {

inline constexpr std::size_t AudioSectorSize = 2352;
inline constexpr std::size_t UserDataSize = disc::iso9660::SectorSize;

/// A data sector as it is on the disc. In some images, subchannels follow it.
inline constexpr std::size_t RawSectorSize = 2352;
inline constexpr std::size_t SyncAndHeaderSize = 16;

/// A Mode 2 sector without its sync and header: subheader, user data, EDC, P parity, Q parity.
inline constexpr std::size_t StoredSectorSize = 2336;
inline constexpr std::size_t SubheaderSize = 8;
inline constexpr std::size_t EdcOffset = SubheaderSize + UserDataSize;

/// The absolute frame of LBA 0.
inline constexpr std::int64_t FirstFrame = 150;

/// Writes the Mode 2 Form 1 sector of `userData` to `stored`, with the processor's fastest codec.
void EncodeSector(std::span<const std::byte, UserDataSize> userData,
                  std::span<std::byte, StoredSectorSize> stored);

/// Returns the first wrong part of a stored sector of Mode 1 or Mode 2: "header" (with the sync),
/// "subheader", "checksum" (EDC) or "error correction code" (parity, with the zeros before it in Mode 1).
/// Empty if no part is wrong, and for sectors without these parts: those of 2048 bytes and of other modes.
/// `lba` is at least -150.
std::string_view FindWrongPart(std::span<const std::byte> sector, std::uint32_t mode, std::int64_t lba);

}  // namespace cdi
