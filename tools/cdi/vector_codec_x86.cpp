// The sector code with AVX2 and carry-less multiplication, chosen when the program runs.

#include <immintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "cdi/sector_codec.h"

#define VECTOR [[gnu::target("avx2,pclmul")]] inline

namespace cdi {
namespace {

// The EDC (V. Gopal et al., "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ", Intel 2009): to
// move 16 bytes over the next ones, each half is multiplied with a power of x. The short rest is left to the
// portable code.

/// Returns x to the power of `exponent` modulo the EDC's polynomial, with reversed bits and one place up.
consteval long long Fold(int exponent) {
  std::uint32_t remainder = 1;
  for (int i = 0; i < exponent; ++i) {
    remainder = (remainder << 1) ^ ((remainder >> 31) != 0 ? 0x8001801B : 0);
  }
  long long reversed = 0;
  for (int bit = 0; bit < 32; ++bit) reversed |= static_cast<long long>((remainder >> bit) & 1) << (32 - bit);
  return reversed;
}

VECTOR __m128i Load(const std::byte* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

VECTOR __m128i FoldOnto(__m128i state, __m128i powers, __m128i next) {
  const __m128i low = _mm_clmulepi64_si128(state, powers, 0x00);
  const __m128i high = _mm_clmulepi64_si128(state, powers, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

VECTOR std::uint32_t VectorEdc(std::span<const std::byte> bytes) {
  if (bytes.size() < 64) return PortableEdc(bytes);
  const __m128i over64 = _mm_set_epi64x(Fold(512 - 32), Fold(512 + 32));
  const __m128i over16 = _mm_set_epi64x(Fold(128 - 32), Fold(128 + 32));
  const std::byte* at = bytes.data();
  __m128i state[4] = {Load(at), Load(at + 16), Load(at + 32), Load(at + 48)};
  std::size_t left = bytes.size() - 64;
  for (at += 64; left >= 64; at += 64, left -= 64) {
    for (std::size_t i = 0; i < 4; ++i) state[i] = FoldOnto(state[i], over64, Load(at + 16 * i));
  }
  for (std::size_t i = 1; i < 4; ++i) state[i] = FoldOnto(state[i - 1], over16, state[i]);

  std::array<std::byte, 16 + 63> rest;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(rest.data()), state[3]);
  std::memcpy(rest.data() + 16, at, left);
  return PortableEdc(std::span(rest).first(16 + left));
}

struct Lanes {
  __m256i sum;
  __m256i weighted;
};

VECTOR void Step(Lanes& lanes, __m256i data) {
  const __m256i high = _mm256_cmpgt_epi8(_mm256_setzero_si256(), lanes.weighted);
  const __m256i timesX = _mm256_xor_si256(_mm256_add_epi8(lanes.weighted, lanes.weighted),
                                          _mm256_and_si256(high, _mm256_set1_epi8(0x1D)));
  lanes.sum = _mm256_xor_si256(lanes.sum, data);
  lanes.weighted = _mm256_xor_si256(timesX, lanes.sum);
}

VECTOR __m256i LoadWide(const std::byte* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

VECTOR void StoreWide(std::byte* bytes, __m256i vector) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), vector);
}

/// Code words side by side, `Vectors` times 32 of them.
template <std::size_t Vectors>
struct WideLanes {
  using Bytes = std::array<std::byte, Vectors * 32>;
  Lanes lanes[Vectors] = {};

  VECTOR void Add(const std::byte* data) {
    for (std::size_t v = 0; v < Vectors; ++v) Step(lanes[v], LoadWide(data + 32 * v));
  }

  /// Writes the parity of the first `size` code words.
  VECTOR void Write(std::byte* first, std::byte* second, std::size_t size) {
    Bytes results[2];
    for (std::size_t v = 0; v < Vectors; ++v) {
      Step(lanes[v], _mm256_setzero_si256());
      StoreWide(results[0].data() + 32 * v, lanes[v].weighted);
      StoreWide(results[1].data() + 32 * v, _mm256_xor_si256(lanes[v].sum, lanes[v].weighted));
    }
    std::memcpy(first, results[0].data(), size);
    std::memcpy(second, results[1].data(), size);
  }

  /// Returns true if the first `size` code words, added with their parity, are right.
  VECTOR bool AreZero(std::size_t size) const {
    constexpr Bytes zero{};
    Bytes results;
    for (std::size_t v = 0; v < Vectors; ++v) {
      StoreWide(results.data() + 32 * v, _mm256_or_si256(lanes[v].sum, lanes[v].weighted));
    }
    return std::memcmp(results.data(), zero.data(), size) == 0;
  }
};

VECTOR WideLanes<3> AddRows(const std::byte* area, std::size_t rows) {
  WideLanes<3> lanes;
  for (std::size_t row = 0; row < rows; ++row) lanes.Add(area + row * RowSize);
  return lanes;
}

/// Transposes 8 by 8 words of 16 bits: row i of the result is column i.
VECTOR void Transpose(__m128i (&rows)[8]) {
  __m128i pairs[8], quads[8];
  for (int i = 0; i < 4; ++i) {
    pairs[2 * i] = _mm_unpacklo_epi16(rows[2 * i], rows[2 * i + 1]);
    pairs[2 * i + 1] = _mm_unpackhi_epi16(rows[2 * i], rows[2 * i + 1]);
  }
  for (int half = 0; half < 2; ++half) {
    const __m128i* in = pairs + 4 * half;
    quads[4 * half] = _mm_unpacklo_epi32(in[0], in[2]);
    quads[4 * half + 1] = _mm_unpackhi_epi32(in[0], in[2]);
    quads[4 * half + 2] = _mm_unpacklo_epi32(in[1], in[3]);
    quads[4 * half + 3] = _mm_unpackhi_epi32(in[1], in[3]);
  }
  for (int i = 0; i < 4; ++i) {
    rows[2 * i] = _mm_unpacklo_epi64(quads[i], quads[4 + i]);
    rows[2 * i + 1] = _mm_unpackhi_epi64(quads[i], quads[4 + i]);
  }
}

/// Each column of the area twice, one after the other, so that every rotation is in one piece.
constexpr std::size_t ColumnStride = 128;
using ColumnPieces = std::array<std::byte, 48 * ColumnStride>;

VECTOR void CollectColumns(const std::byte* area, ColumnPieces& columns) {
  for (std::size_t left = 0; left < Columns; left += 8) {
    for (std::size_t top = 0; top < Rows; top += 8) {
      __m128i block[8];
      for (std::size_t i = 0; i < 8; ++i) block[i] = Load(area + (top + i) * RowSize + 2 * left);
      Transpose(block);
      for (std::size_t i = 0; i < 8; ++i) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(columns.data() + (left + i) * ColumnStride + 2 * top),
                         block[i]);
      }
    }
    for (std::size_t i = left; i < left + 8; ++i) {
      std::memcpy(columns.data() + i * ColumnStride + ColumnSize, columns.data() + i * ColumnStride,
                  ColumnSize);
    }
  }
}

/// Word i of diagonal n is in column i, row (n + i) mod 26: each step adds a rotated column.
VECTOR WideLanes<2> AddDiagonals(const std::byte* area) {
  ColumnPieces columns;
  CollectColumns(area, columns);
  WideLanes<2> lanes;
  for (std::size_t i = 0; i < Columns; ++i) lanes.Add(columns.data() + i * ColumnStride + 2 * (i % Rows));
  return lanes;
}

VECTOR void EncodeWithVectors(const std::byte* userData, std::byte* stored) {
  std::array<std::byte, PaddedAreaSize> area;
  PlaceUserData(userData, area.data());
  std::byte* sector = area.data() + HeaderSize;
  const std::uint32_t edc = VectorEdc({sector, EdcOffset});
  std::memcpy(sector + EdcOffset, &edc, sizeof edc);

  std::byte* p = area.data() + DataRows * RowSize;
  AddRows(area.data(), DataRows).Write(p, p + RowSize, RowSize);
  std::byte* q = area.data() + Rows * RowSize;
  AddDiagonals(area.data()).Write(q, q + ColumnSize, ColumnSize);
  std::memcpy(stored, sector, StoredSectorSize);
}

VECTOR bool HasParityWithVectors(const std::byte* area) {
  if (!AddRows(area, Rows).AreZero(RowSize)) return false;
  WideLanes<2> diagonals = AddDiagonals(area);
  const std::byte* q = area + Rows * RowSize;
  diagonals.Add(q);
  diagonals.Add(q + ColumnSize);
  return diagonals.AreZero(ColumnSize);
}

}  // namespace

std::optional<SectorCodec> VectorCodec() {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("pclmul")) return std::nullopt;
  return SectorCodec{"AVX2", EncodeWithVectors, VectorEdc, HasParityWithVectors};
}

}  // namespace cdi
