#include "cdi/sector_codec.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "disc/bytes.h"

namespace cdi {
namespace {

constexpr std::uint32_t EdcPolynomial = 0xD8018001;  // the coefficient of x^31 in the lowest bit

using EdcTable = std::array<std::uint32_t, 256>;

/// Table k contains the part of each byte in the EDC when k more bytes follow it.
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

/// Word i of diagonal n is in column i, row (n + i) mod 26.
ParityLanes<ColumnSize> AddDiagonals(const std::byte* area) {
  ParityLanes<ColumnSize> lanes;
  std::array<std::byte, 2 * ColumnSize + 8> column{};  // twice, so that every rotation is in one piece
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
  const std::uint32_t edc = PortableEdc({sector, EdcOffset});
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

}  // namespace

void PlaceUserData(const std::byte* userData, std::byte* area) {
  // Header, then the subheader twice: its third byte is the submode "data".
  constexpr std::array<std::byte, HeaderSize + SubheaderSize> front{
      {{}, {}, {}, {}, {}, {}, std::byte{8}, {}, {}, {}, std::byte{8}, {}}};
  std::memcpy(area, front.data(), front.size());
  std::memcpy(area + front.size(), userData, UserDataSize);
}

std::uint32_t PortableEdc(std::span<const std::byte> bytes) {
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

std::vector<SectorCodec> SectorCodecs() {
  std::vector<SectorCodec> codecs{{"portable", EncodePortably, PortableEdc, HasParityPortably}};
  if (const auto vector = VectorCodec()) codecs.push_back(*vector);
  return codecs;
}

const SectorCodec& FastestCodec() {
  static const SectorCodec fastest = SectorCodecs().back();
  return fastest;
}

}  // namespace cdi
