#pragma once

#include <cstddef>
#include <span>

/// The order in which the console's start-up code expects the slices of 32 bytes of a boot file.
namespace scramble {

/// Convert a whole file from one buffer into another of the same length. Each undoes the other.
void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled);
void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain);

}  // namespace scramble
