#include "scramble/permutation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace scramble {
namespace {

using Bytes = std::vector<std::byte>;

Bytes Random(std::size_t length) {
  std::mt19937 random(static_cast<std::uint32_t>(length));
  Bytes bytes(length);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
  return bytes;
}

Bytes Scrambled(const Bytes& plain) {
  Bytes out(plain.size());
  Scramble(plain, out);
  return out;
}

TEST(Scramble, FourSlicesWorkedOutByHand) {
  // Seed 128. The generator gives 697, 4686, 61647, so that each x is 0: slices 0, 3, 2, 1.
  Bytes plain = Random(128);
  Bytes expected;
  for (const int slice : {0, 3, 2, 1}) {
    expected.insert(expected.end(), plain.begin() + 32 * slice, plain.begin() + 32 * slice + 32);
  }
  EXPECT_EQ(Scrambled(plain), expected);
}

TEST(Scramble, IsUndoneForEveryLengthAndKeepsTheRest) {
  std::vector<std::size_t> lengths;
  for (std::size_t length = 0; length <= 300; ++length) lengths.push_back(length);
  for (std::size_t chunk = 512; chunk <= 2 * 1024 * 1024; chunk *= 2) {
    for (const std::size_t length : {chunk - 1, chunk, chunk + 1, chunk + 33}) lengths.push_back(length);
  }
  lengths.push_back(5 * 1024 * 1024 + 77);
  for (const std::size_t length : lengths) {
    const Bytes plain = Random(length);
    const Bytes scrambled = Scrambled(plain);
    Bytes back(length);
    Unscramble(scrambled, back);
    ASSERT_EQ(back, plain) << length;
    ASSERT_EQ(scrambled == plain, length < 128) << length;
    const auto rest = static_cast<std::ptrdiff_t>(length % 32);
    ASSERT_TRUE(std::equal(plain.end() - rest, plain.end(), scrambled.end() - rest)) << length;
  }
}

}  // namespace
}  // namespace scramble
