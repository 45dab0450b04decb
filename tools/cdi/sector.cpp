#include "cdi/sector.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "cdi/descriptor.h"
#include "cdi/sector_codec.h"
#include "disc/bytes.h"

namespace cdi {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::string_view Nothing;
constexpr std::string_view Header = "header";
constexpr std::string_view Subheader = "subheader";
constexpr std::string_view Checksum = "checksum";
constexpr std::string_view CorrectionCode = "error correction code";

// Offsets in a raw sector, or in Mode 2 in a sector without sync and header.
constexpr std::array<std::byte, 12> Sync = [] {
  std::array<std::byte, 12> sync{};
  std::fill(sync.begin() + 1, sync.end() - 1, std::byte{0xFF});
  return sync;
}();
constexpr std::size_t Mode1EdcOffset = SyncAndHeaderSize + UserDataSize;
constexpr disc::Field Mode1Zero{Mode1EdcOffset + 4, 8};
constexpr disc::Field Submode{2, 1};
constexpr std::uint32_t Form2 = 0x20;
constexpr std::size_t Form2EdcOffset = StoredSectorSize - 4;

constexpr std::byte Bcd(std::int64_t number) {
  return static_cast<std::byte>(number / 10 * 16 + number % 10);
}

bool HasSyncAndHeader(Bytes sector, std::uint32_t mode, std::int64_t frame) {
  const std::array header{Bcd(frame / 75 / 60), Bcd(frame / 75 % 60), Bcd(frame % 75),
                          static_cast<std::byte>(mode)};
  return std::memcmp(sector.data(), Sync.data(), Sync.size()) == 0 &&
         std::memcmp(sector.data() + Sync.size(), header.data(), header.size()) == 0;
}

bool HasEdc(Bytes bytes, std::size_t edcOffset) {
  return FastestCodec().edc(bytes.first(edcOffset)) == disc::ReadNumber(bytes, {edcOffset, 4});
}

bool HasParity(Bytes header, Bytes afterHeader) {
  std::array<std::byte, PaddedAreaSize> area;
  std::memcpy(area.data(), header.data(), HeaderSize);
  std::memcpy(area.data() + HeaderSize, afterHeader.data(), StoredSectorSize);
  return FastestCodec().hasParity(area.data());
}

std::string_view FindInMode1(Bytes raw) {
  constexpr std::array<std::byte, Mode1Zero.width> zero{};
  if (!HasEdc(raw, Mode1EdcOffset)) return Checksum;
  const bool isZero = std::memcmp(raw.data() + Mode1Zero.offset, zero.data(), zero.size()) == 0;
  return isZero && HasParity(raw.subspan(Sync.size(), HeaderSize), raw.subspan(SyncAndHeaderSize))
             ? Nothing
             : CorrectionCode;
}

std::string_view FindInForm1(Bytes stored) {
  constexpr std::array<std::byte, HeaderSize> zero{};
  if (!HasEdc(stored, EdcOffset)) return Checksum;
  return HasParity(zero, stored) ? Nothing : CorrectionCode;
}

/// Returns true if a Form 2 sector without an EDC is a Form 1 sector whose form bits were changed. The last
/// four bytes of its parity can be zero. An empty sector of Form 2 has no EDC of Form 1 either.
bool WasForm1(Bytes stored) {
  if (disc::ReadNumber(stored, {EdcOffset, 4}) == 0) return false;
  std::array<std::byte, StoredSectorSize> before;
  std::memcpy(before.data(), stored.data(), before.size());
  for (const std::size_t copy : {std::size_t{0}, SubheaderSize / 2}) {
    before[copy + Submode.offset] &= ~static_cast<std::byte>(Form2);
  }
  return FindInForm1(before).empty();
}

std::string_view FindInMode2(Bytes stored) {
  if (std::memcmp(stored.data(), stored.data() + SubheaderSize / 2, SubheaderSize / 2) != 0) return Subheader;
  if ((disc::ReadNumber(stored, Submode) & Form2) == 0) return FindInForm1(stored);
  if (disc::ReadNumber(stored, {Form2EdcOffset, 4}) == 0) return WasForm1(stored) ? Subheader : Nothing;
  return HasEdc(stored, Form2EdcOffset) ? Nothing : Checksum;
}

}  // namespace

void EncodeSector(std::span<const std::byte, UserDataSize> userData,
                  std::span<std::byte, StoredSectorSize> stored) {
  FastestCodec().encode(userData.data(), stored.data());
}

std::string_view FindWrongPart(std::span<const std::byte> sector, std::uint32_t mode, std::int64_t lba) {
  using track_block::Mode1, track_block::Mode2;
  if (mode != Mode1 && mode != Mode2) return Nothing;
  const bool isRaw = sector.size() >= RawSectorSize;
  if (isRaw && !HasSyncAndHeader(sector, mode, lba + FirstFrame)) return Header;
  if (mode == Mode1) return isRaw ? FindInMode1(sector) : Nothing;
  return sector.size() < StoredSectorSize
             ? Nothing
             : FindInMode2(sector.subspan(isRaw ? SyncAndHeaderSize : 0, StoredSectorSize));
}

}  // namespace cdi
