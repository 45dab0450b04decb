#include "cdi/sector.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

using namespace cdi;

TEST(SectorEncoders, AllGiveTheSameBytes) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::array<std::byte, UserDataSize> userData;
    for (std::byte& byte : userData) byte = static_cast<std::byte>(random());
    std::array<std::byte, StoredSectorSize> expected{};
    SectorEncoders().front().encode(userData.data(), expected.data());
    for (const SectorEncoder& encoder : SectorEncoders()) {
      std::array<std::byte, StoredSectorSize> stored{};
      encoder.encode(userData.data(), stored.data());
      ASSERT_EQ(stored, expected) << encoder.name;
    }
  }
}
