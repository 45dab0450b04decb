#include "scramble/permutation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <span>
#include <utility>

namespace scramble {
namespace {

/// Calls `move(offset in the piece, offset in the plain chunk)` for each slice of a piece. Gives the length
/// of what is left behind them, at a file's end.
template <typename Move>
std::size_t ForEachSlice(const Chunk& chunk, std::size_t at, std::size_t length, Move move) {
  const std::size_t slices = std::min(length / SliceLength, chunk.sources.size() - at / SliceLength);
  const std::uint32_t* source = chunk.sources.data() + at / SliceLength;
  for (std::size_t i = 0; i < slices; ++i) move(i * SliceLength, source[i] * SliceLength);
  return length - slices * SliceLength;
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

bool Chunks::Next(Chunk& chunk) {
  const std::size_t left = fileLength_ - done_;
  if (left == 0) return false;
  while (chunkLength_ > left && chunkLength_ >= SliceLength) chunkLength_ /= 2;
  const std::size_t length = chunkLength_ >= SliceLength ? chunkLength_ : left;

  const std::size_t slices = length / SliceLength;
  order_.resize(slices);
  chunk.sources.resize(slices);
  std::iota(order_.begin(), order_.end(), 0U);
  for (auto i = static_cast<std::uint32_t>(slices); i-- > 0;) {
    const std::uint32_t x = (NextRandom() * i) >> 16;
    std::swap(order_[i], order_[x]);
    chunk.sources[slices - 1 - i] = order_[i];
  }
  chunk.offset = std::exchange(done_, done_ + length);
  chunk.length = length;
  return true;
}

void Scramble(const Chunk& chunk, const std::byte* plain, std::size_t at, std::span<std::byte> piece) {
  const std::size_t rest =
      ForEachSlice(chunk, at, piece.size(), [&](std::size_t inPiece, std::size_t inPlain) {
        std::memcpy(piece.data() + inPiece, plain + inPlain, SliceLength);
      });
  std::copy_n(plain + at + piece.size() - rest, rest, piece.data() + piece.size() - rest);
}

void Unscramble(const Chunk& chunk, std::size_t at, std::span<const std::byte> piece, std::byte* plain) {
  const std::size_t rest =
      ForEachSlice(chunk, at, piece.size(), [&](std::size_t inPiece, std::size_t inPlain) {
        std::memcpy(plain + inPlain, piece.data() + inPiece, SliceLength);
      });
  std::copy_n(piece.data() + piece.size() - rest, rest, plain + at + piece.size() - rest);
}

void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled) {
  Chunks chunks(plain.size());
  Chunk chunk;
  while (chunks.Next(chunk)) {
    Scramble(chunk, plain.data() + chunk.offset, 0, scrambled.subspan(chunk.offset, chunk.length));
  }
}

void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain) {
  Chunks chunks(plain.size());
  Chunk chunk;
  while (chunks.Next(chunk)) {
    Unscramble(chunk, 0, scrambled.subspan(chunk.offset, chunk.length), plain.data() + chunk.offset);
  }
}

}  // namespace scramble
