#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "cdi/sector.h"

namespace cdi {

/// The area that the parity covers, four bytes of header in front: a matrix of 16-bit words in 26 rows of 43,
/// of which the last two are the P parity (ECMA-130, annex A). In Mode 2 the header counts as zero.
///
/// Each of its columns of bytes, and then each of its diagonals, is a Reed-Solomon code word over GF(256)
/// with x^8 + x^4 + x^3 + x^2 + 1: with the two parity bytes behind the data d0 .. dk, the sum of all bytes
/// is zero, and so is the sum weighted with falling powers of x. Solved for the first of the two, that is a
/// Horner scheme over the running sums, s += d; w = w * x + s for each byte and once more with d = 0, which
/// needs nothing but additions and multiplications by x, for any number of code words side by side. w and s +
/// w are the parity. Taken over all bytes with the parity, s and w are zero.
inline constexpr std::size_t HeaderSize = 4;
inline constexpr std::size_t Rows = 26;
inline constexpr std::size_t DataRows = 24;
inline constexpr std::size_t Columns = 43;
inline constexpr std::size_t RowSize = 2 * Columns;
inline constexpr std::size_t ColumnSize = 2 * Rows;
inline constexpr std::size_t CodedAreaSize = HeaderSize + StoredSectorSize;

/// With room behind it for reads of whole vectors and of rows 26 to 31, which do not count.
inline constexpr std::size_t PaddedAreaSize = 32 * RowSize + 64;

inline constexpr std::uint32_t EdcPolynomial = 0xD8018001;  // the coefficient of x^31 in the lowest bit

/// Copies header, subheader and user data to `area`.
void PlaceUserData(const std::byte* userData, std::byte* area);

/// The encoder of this processor's vector unit, if it has one.
std::optional<SectorEncoder> VectorEncoder();

}  // namespace cdi
