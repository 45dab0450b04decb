#pragma once

#include <cstddef>
#include <span>

namespace mMain {

enum class BootFileKind {
  ElfFile = 0,
  UnscrambledBinary = 1,
  ScrambledBinary = 2,
};

/// Returns the form of a boot file, which its bytes alone decide: `ElfFile` if it begins with the ELF magic
/// (System V ABI, ELF header), `UnscrambledBinary` if it contains one of the signatures that only survive in
/// plain form, otherwise `ScrambledBinary`.
BootFileKind ClassifyBootFile(std::span<const std::byte> file);

}  // namespace mMain
