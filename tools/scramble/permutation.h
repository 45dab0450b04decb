#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// The order in which the console's start-up code expects a boot file's slices of 32 bytes.
namespace scramble {

inline constexpr std::size_t SliceLength = 32;
inline constexpr std::size_t LargestChunk = std::size_t{2} * 1024 * 1024;

/// A part of a file that is permuted in itself. Slice i of its scrambled form is slice `sources[i]` of its
/// plain form; without slices the two are the same.
struct Chunk {
  std::size_t offset = 0;  ///< in the file, in bytes
  std::size_t length = 0;  ///< at most `LargestChunk`
  std::vector<std::uint32_t> sources;
};

/// The chunks of a file of any length, one after the other. The permutation runs on over all of them.
class Chunks {
 public:
  explicit Chunks(std::size_t fileLength);

  /// Fills `chunk` with the next one; false behind the last. The same `chunk` again saves memory.
  bool Next(Chunk& chunk);

 private:
  std::uint32_t NextRandom();

  std::size_t fileLength_;
  std::size_t done_ = 0;
  std::size_t chunkLength_;
  std::uint32_t state_;
  std::vector<std::uint32_t> order_;
};

/// Fills `piece`, what stands at `at` in the chunk's scrambled form, from its plain form. Both `at` and the
/// piece's length are whole slices, but for a piece that ends where the chunk ends.
void Scramble(const Chunk& chunk, const std::byte* plain, std::size_t at, std::span<std::byte> piece);

/// The inverse: puts the bytes of such a piece to their places in the chunk's plain form.
void Unscramble(const Chunk& chunk, std::size_t at, std::span<const std::byte> piece, std::byte* plain);

/// A whole file, from one buffer into another of the same length. Each undoes the other.
void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled);
void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain);

}  // namespace scramble
