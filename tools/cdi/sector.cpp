#include "cdi/sector.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "cdi/coded_area.h"
#include "cdi/descriptor.h"
#include "disc/bytes.h"

namespace cdi {
namespace {

using EdcTable = std::array<std::uint32_t, 256>;

/// Table k holds what a byte contributes to the EDC when k more bytes follow it.
consteval std::array<EdcTable, 8> MakeEdcTables() {
  std::array<EdcTable, 8> tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t edc = byte;
    for (int bit = 0; bit < 8; ++bit) edc = (edc >> 1) ^ ((edc & 1) != 0 ? EdcPolynomial : 0);
    tables[0][byte] = edc;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = tables[k - 1][byte];
      tables[k][byte] = (before >> 8) ^ tables[0][before & 0xFF];
    }
  }
  return tables;
}

constexpr std::array<EdcTable, 8> EdcTables = MakeEdcTables();

/// One code word in each byte, `Size` of them side by side.
template <std::size_t Size>
class ParityLanes {
 public:
  /// Reads whole words of 64 bits, beyond `Size` bytes.
  void Add(const std::byte* data) {
    for (std::size_t i = 0; i < Words; ++i) {
      std::uint64_t word = 0;
      std::memcpy(&word, data + i * sizeof word, sizeof word);
      sums_[i] ^= word;
      weighted_[i] = TimesX(weighted_[i]) ^ sums_[i];
    }
  }

  bool AreZero() const {
    std::array<std::byte, Size> sums, weighted;
    std::memcpy(sums.data(), sums_.data(), Size);
    std::memcpy(weighted.data(), weighted_.data(), Size);
    return sums == std::array<std::byte, Size>{} && weighted == sums;
  }

  void Finish(std::byte* first, std::byte* second) {
    for (std::size_t i = 0; i < Words; ++i) {
      weighted_[i] = TimesX(weighted_[i]) ^ sums_[i];
      sums_[i] ^= weighted_[i];
    }
    std::memcpy(first, weighted_.data(), Size);
    std::memcpy(second, sums_.data(), Size);
  }

 private:
  static constexpr std::size_t Words = (Size + 7) / 8;

  static std::uint64_t TimesX(std::uint64_t bytes) {
    const std::uint64_t high = (bytes >> 7) & 0x0101010101010101;
    return ((bytes << 1) & 0xFEFEFEFEFEFEFEFE) ^ (high * 0x1D);
  }

  std::array<std::uint64_t, Words> sums_{};
  std::array<std::uint64_t, Words> weighted_{};
};

ParityLanes<RowSize> AddRows(const std::byte* area, std::size_t rows) {
  ParityLanes<RowSize> lanes;
  for (std::size_t row = 0; row < rows; ++row) lanes.Add(area + row * RowSize);
  return lanes;
}

/// The word i of diagonal n stands in column i, row (n + i) mod 26.
ParityLanes<ColumnSize> AddDiagonals(const std::byte* area) {
  ParityLanes<ColumnSize> lanes;
  std::array<std::byte, 2 * ColumnSize + 8> column{};  // twice, so that every rotation of it is in one piece
  for (std::size_t i = 0; i < Columns; ++i) {
    for (std::size_t row = 0; row < Rows; ++row) {
      const std::byte* word = area + row * RowSize + 2 * i;
      std::memcpy(column.data() + 2 * row, word, 2);
      std::memcpy(column.data() + ColumnSize + 2 * row, word, 2);
    }
    lanes.Add(column.data() + 2 * (i % Rows));
  }
  return lanes;
}

void EncodePortably(const std::byte* userData, std::byte* stored) {
  std::array<std::byte, CodedAreaSize> area{};
  PlaceUserData(userData, area.data());
  std::byte* sector = area.data() + HeaderSize;
  const std::uint32_t edc = Edc({sector, EdcOffset});
  disc::WriteNumber({sector, StoredSectorSize}, {EdcOffset, 4}, edc);
  std::byte* p = area.data() + DataRows * RowSize;
  AddRows(area.data(), DataRows).Finish(p, p + RowSize);
  std::byte* q = area.data() + Rows * RowSize;
  AddDiagonals(area.data()).Finish(q, q + ColumnSize);
  std::memcpy(stored, sector, StoredSectorSize);
}

bool HasParityPortably(const std::byte* area) {
  if (!AddRows(area, Rows).AreZero()) return false;
  ParityLanes<ColumnSize> diagonals = AddDiagonals(area);
  const std::byte* q = area + Rows * RowSize;
  diagonals.Add(q);
  diagonals.Add(q + ColumnSize);
  return diagonals.AreZero();
}

const SectorEncoder& Fastest() {
  static const SectorEncoder fastest = SectorEncoders().back();
  return fastest;
}

// What is verified, by its place in a raw sector and, of Mode 2, behind the header.

using Bytes = std::span<const std::byte>;

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
  return Fastest().edc(bytes.first(edcOffset)) == disc::ReadNumber(bytes, {edcOffset, 4});
}

bool HasParity(Bytes header, Bytes behind) {
  std::array<std::byte, PaddedAreaSize> area;
  std::memcpy(area.data(), header.data(), HeaderSize);
  std::memcpy(area.data() + HeaderSize, behind.data(), StoredSectorSize);
  return Fastest().hasParity(area.data());
}

bool IsIntactMode1(Bytes raw) {
  constexpr std::array<std::byte, Mode1Zero.width> zero{};
  return std::memcmp(raw.data() + Mode1Zero.offset, zero.data(), zero.size()) == 0 &&
         HasEdc(raw, Mode1EdcOffset) &&
         HasParity(raw.subspan(Sync.size(), HeaderSize), raw.subspan(SyncAndHeaderSize));
}

bool IsIntactForm1(Bytes stored) {
  constexpr std::array<std::byte, HeaderSize> zero{};
  return HasEdc(stored, EdcOffset) && HasParity(zero, stored);
}

/// Whether a sector that seems to be of Form 2 without an EDC is one of Form 1 whose form bits were changed:
/// parity may end in zeros. An empty sector of Form 2 has no EDC of Form 1 either.
bool WasForm1(Bytes stored) {
  if (disc::ReadNumber(stored, {EdcOffset, 4}) == 0) return false;
  std::array<std::byte, StoredSectorSize> before;
  std::memcpy(before.data(), stored.data(), before.size());
  for (const std::size_t copy : {std::size_t{0}, SubheaderSize / 2}) {
    before[copy + Submode.offset] &= ~static_cast<std::byte>(Form2);
  }
  return IsIntactForm1(before);
}

bool IsIntactMode2(Bytes stored) {
  if (std::memcmp(stored.data(), stored.data() + SubheaderSize / 2, SubheaderSize / 2) != 0) return false;
  if ((disc::ReadNumber(stored, Submode) & Form2) == 0) return IsIntactForm1(stored);
  if (disc::ReadNumber(stored, {Form2EdcOffset, 4}) == 0) return !WasForm1(stored);
  return HasEdc(stored, Form2EdcOffset);
}

}  // namespace

void PlaceUserData(const std::byte* userData, std::byte* area) {
  // Header, then the subheader twice: its third byte says "data".
  constexpr std::array<std::byte, HeaderSize + SubheaderSize> front{
      {{}, {}, {}, {}, {}, {}, std::byte{8}, {}, {}, {}, std::byte{8}, {}}};
  std::memcpy(area, front.data(), front.size());
  std::memcpy(area + front.size(), userData, UserDataSize);
}

std::uint32_t Edc(std::span<const std::byte> bytes) {
  std::uint32_t edc = 0;
  const auto at = [&](std::size_t i) { return static_cast<std::uint32_t>(bytes[i]); };
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    edc ^= disc::ReadNumber(bytes, {0, 4});
    edc = EdcTables[7][edc & 0xFF] ^ EdcTables[6][(edc >> 8) & 0xFF] ^ EdcTables[5][(edc >> 16) & 0xFF] ^
          EdcTables[4][edc >> 24] ^ EdcTables[3][at(4)] ^ EdcTables[2][at(5)] ^ EdcTables[1][at(6)] ^
          EdcTables[0][at(7)];
  }
  for (const std::byte byte : bytes) {
    edc = (edc >> 8) ^ EdcTables[0][(edc & 0xFF) ^ static_cast<std::uint32_t>(byte)];
  }
  return edc;
}

std::vector<SectorEncoder> SectorEncoders() {
  std::vector<SectorEncoder> encoders{{"portable", EncodePortably, Edc, HasParityPortably}};
  if (const auto vector = VectorEncoder()) encoders.push_back(*vector);
  return encoders;
}

void EncodeSector(std::span<const std::byte, UserDataSize> userData,
                  std::span<std::byte, StoredSectorSize> stored) {
  Fastest().encode(userData.data(), stored.data());
}

bool IsIntact(std::span<const std::byte> sector, std::uint32_t mode, std::int64_t lba) {
  using track_block::Mode1, track_block::Mode2;
  if (mode != Mode1 && mode != Mode2) return true;
  const bool isRaw = sector.size() >= RawSectorSize;
  if (isRaw && !HasSyncAndHeader(sector, mode, lba + FirstFrame)) return false;
  if (mode == Mode1) return !isRaw || IsIntactMode1(sector);
  return sector.size() < StoredSectorSize ||
         IsIntactMode2(sector.subspan(isRaw ? SyncAndHeaderSize : 0, StoredSectorSize));
}

}  // namespace cdi
