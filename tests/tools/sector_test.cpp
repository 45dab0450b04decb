#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "cdi/sector_codec.h"

using namespace cdi;

TEST(SectorCodecs, AllWriteTheSameBytesAndSeeTheSameDamage) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::array<std::byte, UserDataSize> userData;
    for (std::byte& byte : userData) byte = static_cast<std::byte>(random());
    std::array<std::byte, StoredSectorSize> expected{};
    SectorCodecs().front().encode(userData.data(), expected.data());
    std::array<std::byte, PaddedAreaSize> area{};
    std::ranges::copy(expected, area.begin() + HeaderSize);
    const std::size_t q = Rows * RowSize + random() % ColumnSize;  // in the Q parity
    const std::vector<std::size_t> damages[] = {{HeaderSize + random() % StoredSectorSize},
                                                {q, q + ColumnSize}};  // whose plain sum stays zero
    for (const SectorCodec& encoder : SectorCodecs()) {
      SCOPED_TRACE(encoder.name);
      std::array<std::byte, StoredSectorSize> stored{};
      encoder.encode(userData.data(), stored.data());
      ASSERT_EQ(stored, expected);
      ASSERT_EQ(encoder.edc(std::span(stored).first(EdcOffset + 4)), 0U) << "as of all that ends in its EDC";
      ASSERT_TRUE(encoder.hasParity(area.data()));
      for (const std::vector<std::size_t>& damage : damages) {
        for (const std::size_t at : damage) area[at] ^= std::byte{1};
        ASSERT_FALSE(encoder.hasParity(area.data()));
        for (const std::size_t at : damage) area[at] ^= std::byte{1};
      }
    }
  }
}
