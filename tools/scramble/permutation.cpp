#include "scramble/permutation.h"

#include <cstring>
#include <numeric>
#include <utility>

namespace scramble {
namespace {

constexpr std::size_t LargestChunk = std::size_t{2} * 1024 * 1024;

void CopyRest(const Chunk& chunk, const std::byte* from, std::byte* to) {
  const std::size_t permuted = chunk.sources.size() * SliceLength;
  if (permuted < chunk.length) std::memcpy(to + permuted, from + permuted, chunk.length - permuted);
}

}  // namespace

Chunks::Chunks(std::size_t fileLength)
    : fileLength_(fileLength),
      chunkLength_(LargestChunk),
      state_(static_cast<std::uint32_t>(fileLength & 0xFFFF)) {}

std::uint32_t Chunks::NextRandom() {
  state_ = (state_ * 2109 + 9273) & 0x7FFF;
  return (state_ + 0xC000) & 0xFFFF;
}

std::optional<Chunk> Chunks::Next() {
  const std::size_t left = fileLength_ - done_;
  if (left == 0) return std::nullopt;
  while (chunkLength_ > left && chunkLength_ >= SliceLength) chunkLength_ /= 2;
  const std::size_t length = chunkLength_ >= SliceLength ? chunkLength_ : left;

  const std::size_t slices = length / SliceLength;
  order_.resize(slices);
  std::vector<std::uint32_t> sources(slices);
  std::iota(order_.begin(), order_.end(), 0U);
  for (auto i = static_cast<std::uint32_t>(slices); i-- > 0;) {
    const std::uint32_t x = (NextRandom() * i) >> 16;
    std::swap(order_[i], order_[x]);
    sources[slices - 1 - i] = order_[i];
  }
  return Chunk{std::exchange(done_, done_ + length), length, std::move(sources)};
}

void Scramble(const Chunk& chunk, const std::byte* plain, std::byte* scrambled) {
  for (std::size_t i = 0; i < chunk.sources.size(); ++i) {
    std::memcpy(scrambled + i * SliceLength, plain + chunk.sources[i] * SliceLength, SliceLength);
  }
  CopyRest(chunk, plain, scrambled);
}

void Unscramble(const Chunk& chunk, const std::byte* scrambled, std::byte* plain) {
  for (std::size_t i = 0; i < chunk.sources.size(); ++i) {
    std::memcpy(plain + chunk.sources[i] * SliceLength, scrambled + i * SliceLength, SliceLength);
  }
  CopyRest(chunk, scrambled, plain);
}

void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled) {
  Chunks chunks(plain.size());
  while (const auto chunk = chunks.Next()) {
    Scramble(*chunk, plain.data() + chunk->offset, scrambled.data() + chunk->offset);
  }
}

void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain) {
  Chunks chunks(plain.size());
  while (const auto chunk = chunks.Next()) {
    Unscramble(*chunk, scrambled.data() + chunk->offset, plain.data() + chunk->offset);
  }
}

}  // namespace scramble
