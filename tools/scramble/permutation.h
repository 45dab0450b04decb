#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The order in which the console's start-up code expects a boot file's slices of 32 bytes.
namespace scramble {

inline constexpr std::size_t SliceLength = 32;

/// A part of a file that is permuted in itself. Slice i of its scrambled form is slice `sources[i]` of its
/// plain form; without slices the two are the same.
struct Chunk {
  std::size_t offset;  ///< in the file, in bytes
  std::size_t length;  ///< at most 2 MiB
  std::vector<std::uint32_t> sources;
};

/// The chunks of a file of any length, one after the other. The permutation runs on over all of them.
class Chunks {
 public:
  explicit Chunks(std::size_t fileLength);

  /// Nothing behind the last one.
  std::optional<Chunk> Next();

 private:
  std::uint32_t NextRandom();

  std::size_t fileLength_;
  std::size_t done_ = 0;
  std::size_t chunkLength_;
  std::uint32_t state_;
  std::vector<std::uint32_t> order_;
};

/// One chunk, from one buffer into another of its length.
void Scramble(const Chunk& chunk, const std::byte* plain, std::byte* scrambled);
void Unscramble(const Chunk& chunk, const std::byte* scrambled, std::byte* plain);

/// A whole file, from one buffer into another of the same length. Each undoes the other.
void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled);
void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain);

}  // namespace scramble
