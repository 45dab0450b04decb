#include "cdi/sector.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace cdi {
namespace {

constexpr std::uint32_t EdcPolynomial = 0xD8018001;

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

/// The area that the parity covers, four bytes of header in front: a matrix of 16-bit words in 26 rows of 43,
/// of which the last two are the P parity (ECMA-130, annex A). In Mode 2 the header counts as zero.
constexpr std::size_t HeaderSize = 4;
constexpr std::size_t Rows = 26;
constexpr std::size_t DataRows = 24;
constexpr std::size_t Columns = 43;
constexpr std::size_t RowSize = 2 * Columns;
constexpr std::size_t ColumnSize = 2 * Rows;

/// One Reed-Solomon code word in each byte, `Size` of them side by side. Over GF(256) with
/// x^8 + x^4 + x^3 + x^2 + 1, the two parity bytes behind the data d0 .. dk satisfy: the sum of all bytes is
/// zero, and so is the sum weighted with falling powers of x. Solved for the first of them, that is a Horner
/// scheme over the running sums, which needs nothing but additions and multiplications by x.
template <std::size_t Size>
class ParityLanes {
 public:
  void Add(const std::byte* data) {
    for (std::size_t i = 0; i < Words; ++i) {
      std::uint64_t word = 0;
      std::memcpy(&word, data + i * sizeof word, sizeof word);
      sums_[i] ^= word;
      weighted_[i] = TimesX(weighted_[i]) ^ sums_[i];
    }
  }

  void Finish(std::byte* first, std::byte* second) {
    for (std::size_t i = 0; i < Words; ++i) {
      weighted_[i] = TimesX(weighted_[i]) ^ sums_[i];
      sums_[i] ^= weighted_[i];
    }
    std::memcpy(first, weighted_.data(), Size);
    std::memcpy(second, sums_.data(), Size);
  }

  /// `Add` reads whole words: up to this many bytes.
  static constexpr std::size_t Words = (Size + 7) / 8;
  static constexpr std::size_t ReadSize = Words * 8;

 private:
  static std::uint64_t TimesX(std::uint64_t bytes) {
    const std::uint64_t high = (bytes >> 7) & 0x0101010101010101;
    return ((bytes << 1) & 0xFEFEFEFEFEFEFEFE) ^ (high * 0x1D);
  }

  std::array<std::uint64_t, Words> sums_{};
  std::array<std::uint64_t, Words> weighted_{};
};

using CodedArea = std::array<std::byte, HeaderSize + StoredSectorSize>;

void WritePParity(CodedArea& area) {
  ParityLanes<RowSize> lanes;
  for (std::size_t row = 0; row < DataRows; ++row) lanes.Add(area.data() + row * RowSize);
  lanes.Finish(area.data() + DataRows * RowSize, area.data() + (DataRows + 1) * RowSize);
}

/// The diagonals: the word i of diagonal n stands in column i, row (n + i) mod 26.
void WriteQParity(CodedArea& area) {
  ParityLanes<ColumnSize> lanes;
  std::array<std::byte, 2 * ColumnSize + 8> column{};  // twice, so that every rotation of it is in one piece
  for (std::size_t i = 0; i < Columns; ++i) {
    for (std::size_t row = 0; row < Rows; ++row) {
      const std::byte* word = area.data() + row * RowSize + 2 * i;
      std::memcpy(column.data() + 2 * row, word, 2);
      std::memcpy(column.data() + ColumnSize + 2 * row, word, 2);
    }
    lanes.Add(column.data() + 2 * (i % Rows));
  }
  std::byte* parity = area.data() + Rows * RowSize;
  lanes.Finish(parity, parity + ColumnSize);
}

}  // namespace

std::uint32_t Edc(std::span<const std::byte> bytes) {
  std::uint32_t edc = 0;
  const auto at = [&](std::size_t i) { return static_cast<std::uint32_t>(bytes[i]); };
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    edc ^= at(0) | at(1) << 8 | at(2) << 16 | at(3) << 24;
    edc = EdcTables[7][edc & 0xFF] ^ EdcTables[6][(edc >> 8) & 0xFF] ^ EdcTables[5][(edc >> 16) & 0xFF] ^
          EdcTables[4][edc >> 24] ^ EdcTables[3][at(4)] ^ EdcTables[2][at(5)] ^ EdcTables[1][at(6)] ^
          EdcTables[0][at(7)];
  }
  for (const std::byte byte : bytes)
    edc = (edc >> 8) ^ EdcTables[0][(edc & 0xFF) ^ static_cast<std::uint32_t>(byte)];
  return edc;
}

void EncodeSector(std::span<const std::byte, UserDataSize> userData,
                  std::span<std::byte, StoredSectorSize> stored) {
  constexpr std::array<std::byte, SubheaderSize> subheader{std::byte{0}, std::byte{0}, std::byte{8},
                                                           std::byte{0}, std::byte{0}, std::byte{0},
                                                           std::byte{8}, std::byte{0}};
  CodedArea area{};
  std::byte* sector = area.data() + HeaderSize;
  std::ranges::copy(subheader, sector);
  std::ranges::copy(userData, sector + SubheaderSize);

  const std::uint32_t edc = Edc({sector, EdcOffset});
  for (int i = 0; i < 4; ++i) sector[EdcOffset + i] = static_cast<std::byte>(edc >> (8 * i));

  WritePParity(area);
  WriteQParity(area);
  std::copy_n(sector, StoredSectorSize, stored.data());
}

}  // namespace cdi
