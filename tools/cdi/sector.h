#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Sectors as an image stores them (ECMA-130; CD-ROM XA for Mode 2 Form 1). Sizes are in bytes.
namespace cdi {

inline constexpr std::size_t AudioSectorSize = 2352;
inline constexpr std::size_t UserDataSize = 2048;

/// A data sector as it lies on the disc. Some images have subchannels behind it.
inline constexpr std::size_t RawSectorSize = 2352;
inline constexpr std::size_t SyncAndHeaderSize = 16;

/// A Mode 2 sector without its sync and header: subheader, user data, EDC, P parity, Q parity.
inline constexpr std::size_t StoredSectorSize = 2336;
inline constexpr std::size_t SubheaderSize = 8;
inline constexpr std::size_t EdcOffset = SubheaderSize + UserDataSize;

/// The EDC of `bytes`: CRC with the polynomial x^32 + x^31 + x^16 + x^15 + x^4 + x^3 + x + 1, least
/// significant bit first, start 0, no inversion (ECMA-130, 14.3).
std::uint32_t Edc(std::span<const std::byte> bytes);

/// Writes the Mode 2 Form 1 sector of `userData` to `stored`, in the fastest way that the processor knows.
void EncodeSector(std::span<const std::byte, UserDataSize> userData,
                  std::span<std::byte, StoredSectorSize> stored);

/// The absolute frame of LBA 0.
inline constexpr std::int64_t FirstFrame = 150;

/// Whether all that a stored sector of Mode 1 or Mode 2 says of itself is right: sync and header, both copies
/// of the subheader, EDC and parity, as far as it has them. True for a sector that says nothing: of 2048
/// bytes, or of another mode. `lba` is at least -150. In the fastest way, too.
bool IsIntact(std::span<const std::byte> sector, std::uint32_t mode, std::int64_t lba);

/// One way to encode a sector, and to verify one. All of them give the same results.
struct SectorEncoder {
  const char* name;
  void (*encode)(const std::byte* userData, std::byte* stored);
  std::uint32_t (*edc)(std::span<const std::byte> bytes);
  bool (*hasParity)(const std::byte* area);  ///< P and Q parity of `PaddedAreaSize` bytes of coded area
};

/// The ways that this processor knows, the fastest last. The first one needs nothing but standard C++.
std::vector<SectorEncoder> SectorEncoders();

}  // namespace cdi
