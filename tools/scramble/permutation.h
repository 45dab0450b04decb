#pragma once

#include <cstddef>
#include <span>

namespace scramble {

/// The order in which the console's start-up code expects a boot file's 32-byte slices. Both work from one
/// buffer into another of the same length, any length, and each undoes the other.
void Scramble(std::span<const std::byte> plain, std::span<std::byte> scrambled);
void Unscramble(std::span<const std::byte> scrambled, std::span<std::byte> plain);

}  // namespace scramble
