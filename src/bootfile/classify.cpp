#include "bootfile/classify.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "bootfile/signatures.h"

namespace mMain {
namespace {

constexpr std::string_view ElfMagic =
    "\x7F"
    "ELF";

// Every signature begins with 33 blocks of four bytes, one at each of its first 33 bytes, so wherever it
// stands, exactly one of them begins at a multiple of 33. The search looks at no other places of the file: it
// asks an index whether the block there belongs to a signature, and if so compares that signature where it
// would have to stand. Blocks of four and not two bytes, so that hardly any of a file's own blocks does.

constexpr std::size_t BlockLength = 4;
constexpr std::size_t Stride =
    std::ranges::min(UnscrambledSignatures, {}, &std::string_view::size).size() - BlockLength + 1;

std::uint32_t BlockAt(const char* bytes) {
  std::uint32_t block = 0;
  std::memcpy(&block, bytes, BlockLength);
  return block;
}

/// Where in the signatures a block stands.
class BlockIndex {
 public:
  struct Place {
    std::uint32_t block;
    std::uint16_t next;  ///< the next place whose block has the same slot, counted from 1; 0 if there is none
    std::uint16_t offset;
    std::string_view signature;
  };

  BlockIndex() {
    places_.reserve(UnscrambledSignatures.size() * Stride);
    for (const std::string_view signature : UnscrambledSignatures) {
      for (std::uint16_t offset = 0; offset < Stride; ++offset) {
        const std::uint32_t block = BlockAt(signature.data() + offset);
        std::uint16_t& first = firsts_[SlotOf(block)];
        places_.push_back({block, first, offset, signature});
        first = static_cast<std::uint16_t>(places_.size());
      }
    }
  }

  /// True if a signature stands in `file` whose block begins at `at`.
  bool FindsSignature(std::string_view file, std::size_t at) const {
    const std::uint32_t block = BlockAt(file.data() + at);
    for (std::uint16_t number = firsts_[SlotOf(block)]; number != 0;) {
      const Place& place = places_[number - 1U];
      number = place.next;
      if (place.block == block && place.offset <= at &&
          file.substr(at - place.offset).starts_with(place.signature)) {
        return true;
      }
    }
    return false;
  }

 private:
  static constexpr int SlotBits = 13;

  static std::size_t SlotOf(std::uint32_t block) { return block * 0x9E3779B1U >> (32 - SlotBits); }

  std::array<std::uint16_t, 1 << SlotBits> firsts_{};
  std::vector<Place> places_;
};

bool HoldsSignature(std::string_view file) {
  const BlockIndex index;
  for (std::size_t at = 0; at + BlockLength <= file.size(); at += Stride) {
    if (index.FindsSignature(file, at)) return true;
  }
  return false;
}

}  // namespace

BootFileKind ClassifyBootFile(std::span<const std::byte> file) {
  const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
  if (bytes.starts_with(ElfMagic)) return BootFileKind::ElfFile;
  return HoldsSignature(bytes) ? BootFileKind::UnscrambledBinary : BootFileKind::ScrambledBinary;
}

}  // namespace mMain
