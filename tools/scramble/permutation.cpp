#include "scramble/permutation.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace scramble {
namespace {

constexpr std::size_t SliceLength = 32;
constexpr std::size_t LargestChunk = 2 * 1024 * 1024;

/// The linear congruential generator behind the permutation. It runs on over all chunks of a file.
class Generator {
 public:
  explicit Generator(std::size_t fileLength) : state_(fileLength & 0xFFFF) {}

  std::uint32_t Next() {
    state_ = (state_ * 2109 + 9273) & 0x7FFF;
    return (state_ + 0xC000) & 0xFFFF;
  }

 private:
  std::uint32_t state_;
};

/// Calls `move(scrambledOffset, plainOffset, length)` for every run of bytes of a file of `fileLength`.
template <typename Move>
void ForEachSlice(std::size_t fileLength, Move move) {
  Generator generator(fileLength);
  std::vector<std::uint32_t> order;
  std::size_t done = 0;

  for (std::size_t chunk = LargestChunk; chunk >= SliceLength; chunk /= 2) {
    for (; fileLength - done >= chunk; done += chunk) {
      order.resize(chunk / SliceLength);
      std::iota(order.begin(), order.end(), 0U);
      std::size_t scrambled = done;
      for (auto i = static_cast<std::uint32_t>(order.size()); i-- > 0;) {
        const std::uint32_t x = (generator.Next() * i) >> 16;
        std::swap(order[i], order[x]);
        move(scrambled, done + order[i] * SliceLength, SliceLength);
        scrambled += SliceLength;
      }
    }
  }
  move(done, done, fileLength - done);
}

}  // namespace

void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled) {
  ForEachSlice(plain.size(), [&](std::size_t scrambledOffset, std::size_t plainOffset, std::size_t length) {
    std::copy_n(plain.data() + plainOffset, length, scrambled.data() + scrambledOffset);
  });
}

void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain) {
  ForEachSlice(plain.size(), [&](std::size_t scrambledOffset, std::size_t plainOffset, std::size_t length) {
    std::copy_n(scrambled.data() + scrambledOffset, length, plain.data() + plainOffset);
  });
}

}  // namespace scramble
