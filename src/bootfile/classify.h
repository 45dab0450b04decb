#pragma once

#include <cstddef>
#include <span>

namespace mMain {

enum class BootFileKind {
  ElfFile = 0,
  UnscrambledBinary = 1,
  ScrambledBinary = 2,
};

/// Tells the form of a boot file from its bytes alone. `ElfFile` if it begins with the ELF magic (System V
/// ABI, ELF header), `UnscrambledBinary` if one of the signatures that only survive in plain form stands
/// anywhere in it, otherwise `ScrambledBinary`.
BootFileKind ClassifyBootFile(std::span<const std::byte> file);

}  // namespace mMain
