#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "cdi/sector.h"

namespace cdi {

/// The area that the parity covers, with four bytes of header at its start: a matrix of 16-bit words in 26
/// rows of 43. The last two rows are the P parity (ECMA-130, annex A). In Mode 2 the header counts as zero.
///
/// Each column of bytes, and then each diagonal, is a Reed-Solomon code word over GF(256) with
/// x^8 + x^4 + x^3 + x^2 + 1. Its last two bytes are the parity of the data d0 .. dk: the sum of all bytes is
/// zero, and so is the sum weighted with falling powers of x. Solved for the first parity byte, that is a
/// Horner scheme over the running sums, s += d; w = w * x + s for each byte and once more with d = 0. It
/// needs only additions and multiplications by x, for any number of code words side by side. w and s + w are
/// the parity. Over all bytes, parity included, s and w are zero.
inline constexpr std::size_t HeaderSize = 4;
inline constexpr std::size_t Rows = 26;
inline constexpr std::size_t DataRows = 24;
inline constexpr std::size_t Columns = 43;
inline constexpr std::size_t RowSize = 2 * Columns;
inline constexpr std::size_t ColumnSize = 2 * Rows;
inline constexpr std::size_t CodedAreaSize = HeaderSize + StoredSectorSize;

/// With room after the area for reads of whole vectors and of rows 26 to 31, which do not count.
inline constexpr std::size_t PaddedAreaSize = 32 * RowSize + 64;

/// Copies header, subheader and user data to `area`.
void PlaceUserData(const std::byte* userData, std::byte* area);

/// Returns the EDC of `bytes`: CRC with the polynomial x^32 + x^31 + x^16 + x^15 + x^4 + x^3 + x + 1, least
/// significant bit first, start 0, no inversion (ECMA-130, 14.3). Uses standard C++ only.
std::uint32_t PortableEdc(std::span<const std::byte> bytes);

/// One way to encode a sector and to verify one. All of them have the same results.
struct SectorCodec {
  const char* name;
  void (*encode)(const std::byte* userData, std::byte* stored);
  std::uint32_t (*edc)(std::span<const std::byte> bytes);
  bool (*hasParity)(const std::byte* area);  ///< P and Q parity of `PaddedAreaSize` bytes of coded area
};

/// Returns the codec of this processor's vector unit, if there is one.
std::optional<SectorCodec> VectorCodec();

/// Returns the codecs for this processor, the fastest last. The first one uses standard C++ only.
std::vector<SectorCodec> SectorCodecs();

const SectorCodec& FastestCodec();

}  // namespace cdi
