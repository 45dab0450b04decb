#include "scramble/permutation.h"

#include <algorithm>
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
constexpr std::size_t LargestChunk = std::size_t{2} * 1024 * 1024 / SliceLength;  // in slices

/// Returns the number of the plain slice for each slice of the scrambled file. Chunks of falling size are
/// permuted, each within itself.
std::vector<std::uint32_t> SliceOrder(std::size_t fileLength) {
  std::vector<std::uint32_t> order(fileLength / SliceLength);
  std::iota(order.begin(), order.end(), 0U);
  auto random = static_cast<std::uint32_t>(fileLength & 0xFFFF);
  std::span left(order);
  for (std::size_t length = LargestChunk; length > 0; length /= 2) {
    for (; left.size() >= length; left = left.subspan(length)) {
      const auto chunk = left.first(length);
      for (auto i = static_cast<std::uint32_t>(length); i-- > 0;) {
        random = (random * 2109 + 9273) & 0x7FFF;
        const std::uint32_t x = (((random + 0xC000) & 0xFFFF) * i) >> 16;
        std::swap(chunk[i], chunk[x]);
      }
      std::ranges::reverse(chunk);
    }
  }
  return order;
}

/// Copies the bytes after the last whole slice.
void CopyRest(std::span<const std::byte> from, std::span<std::byte> to) {
  const std::size_t rest = from.size() % SliceLength;
  std::ranges::copy(from.last(rest), to.last(rest).begin());
}

}  // namespace

void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled) {
  std::byte* next = scrambled.data();
  for (const std::size_t slice : SliceOrder(plain.size())) {
    std::memcpy(next, plain.data() + slice * SliceLength, SliceLength);
    next += SliceLength;
  }
  CopyRest(plain, scrambled);
}

void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain) {
  const std::byte* next = scrambled.data();
  for (const std::size_t slice : SliceOrder(plain.size())) {
    std::memcpy(plain.data() + slice * SliceLength, next, SliceLength);
    next += SliceLength;
  }
  CopyRest(scrambled, plain);
}

}  // namespace scramble
