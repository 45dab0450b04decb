#include "scramble/permutation.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

namespace scramble {
namespace {

constexpr std::size_t SliceLength = 32;
constexpr std::size_t LargestChunk = std::size_t{2} * 1024 * 1024;

/// Calls `move(offset in the scrambled file, offset in the plain file, length)` for each slice, and for the
/// bytes after the last whole slice. Chunks of falling size are permuted, each within itself.
template <typename Move>
void ForEachSlice(std::size_t fileLength, Move move) {
  auto random = static_cast<std::uint32_t>(fileLength & 0xFFFF);
  std::vector<std::uint32_t> order;
  std::size_t done = 0;
  for (std::size_t chunkLength = LargestChunk; chunkLength >= SliceLength; chunkLength /= 2) {
    while (fileLength - done >= chunkLength) {
      const std::size_t start = done;
      order.resize(chunkLength / SliceLength);
      std::iota(order.begin(), order.end(), 0U);
      for (auto i = static_cast<std::uint32_t>(order.size()); i-- > 0;) {
        random = (random * 2109 + 9273) & 0x7FFF;
        const std::uint32_t x = (((random + 0xC000) & 0xFFFF) * i) >> 16;
        std::swap(order[i], order[x]);
      }
      for (auto slice = order.rbegin(); slice != order.rend(); ++slice, done += SliceLength) {
        move(done, start + *slice * SliceLength, SliceLength);
      }
    }
  }
  move(done, done, fileLength - done);
}

}  // namespace

void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled) {
  ForEachSlice(plain.size(), [&](std::size_t inScrambled, std::size_t inPlain, std::size_t length) {
    std::memcpy(scrambled.data() + inScrambled, plain.data() + inPlain, length);
  });
}

void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain) {
  ForEachSlice(plain.size(), [&](std::size_t inScrambled, std::size_t inPlain, std::size_t length) {
    std::memcpy(plain.data() + inPlain, scrambled.data() + inScrambled, length);
  });
}

}  // namespace scramble
