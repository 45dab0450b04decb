#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "cdi/sector_codec.h"

using namespace cdi;

TEST(SectorCodec, VectorCodecWritesTheBytesOfThePortableCodecAndFindsTheSameDamage) {
  const auto codec = VectorCodec();
  if (!codec) GTEST_SKIP() << "this processor has no AVX2, so the portable codec is the only one";
  const SectorCodec portable = SectorCodecs().front();
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::array<std::byte, UserDataSize> userData;
    for (std::byte& byte : userData) byte = static_cast<std::byte>(random());
    std::array<std::byte, StoredSectorSize> expected{}, stored{};
    portable.encode(userData.data(), expected.data());
    codec->encode(userData.data(), stored.data());
    ASSERT_EQ(stored, expected);
    const auto start = std::span(stored).first(static_cast<std::size_t>(round));
    ASSERT_EQ(codec->edc(start), portable.edc(start)) << round << " bytes";

    std::array<std::byte, PaddedAreaSize> area{};
    std::ranges::copy(expected, area.begin() + HeaderSize);
    const std::size_t q = Rows * RowSize + random() % ColumnSize;  // in the Q parity
    const std::vector<std::size_t> damages[] = {{HeaderSize + random() % StoredSectorSize},
                                                {q, q + ColumnSize}};  // whose plain sum stays zero
    for (const auto hasParity : {codec->hasParity, portable.hasParity}) {
      ASSERT_TRUE(hasParity(area.data()));
      for (const std::vector<std::size_t>& damage : damages) {
        for (const std::size_t at : damage) area[at] ^= std::byte{1};
        ASSERT_FALSE(hasParity(area.data()));
        for (const std::size_t at : damage) area[at] ^= std::byte{1};
      }
    }
  }
}
