#include "cdi/sector.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace cdi {
namespace {

TEST(SectorEncoders, AllGiveTheSameBytes) {
  std::mt19937 random(7);
  const std::vector<SectorEncoder> encoders = SectorEncoders();
  for (int round = 0; round < 200; ++round) {
    std::array<std::byte, UserDataSize> userData{};
    for (int i = 0; i < (round < 3 ? round : 2048); ++i) {
      userData[random() % UserDataSize] = static_cast<std::byte>(random());
    }
    std::array<std::byte, StoredSectorSize> expected{}, stored{};
    encoders.front().encode(userData.data(), expected.data());
    for (const SectorEncoder& encoder : encoders) {
      encoder.encode(userData.data(), stored.data());
      ASSERT_EQ(stored, expected) << encoder.name << ", round " << round;
    }
  }
}

}  // namespace
}  // namespace cdi
