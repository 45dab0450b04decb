#include "bootfile/classify.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <unordered_map>

#include "bootfile/signatures.h"

namespace mMain {

BootFileKind ClassifyBootFile(std::span<const std::byte> file) {
  using enum BootFileKind;
  const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
  if (bytes.starts_with("\177ELF")) return ElfFile;

  // The shortest signature has `stride` blocks of four bytes, one at each of its first bytes. So one block of
  // any signature is at a multiple of `stride` in the file, and no other place needs a look.
  constexpr std::size_t stride =
      std::ranges::min(UnscrambledSignatures, {}, &std::string_view::size).size() - sizeof(std::uint32_t) + 1;
  const auto readBlock = [](const char* c) {
    return std::bit_cast<std::uint32_t>(std::array{c[0], c[1], c[2], c[3]});
  };
  std::unordered_multimap<std::uint32_t, std::size_t> places;  // signature * stride + offset
  places.max_load_factor(0.125F);                              // an empty bucket is the fastest answer
  for (std::size_t place = 0; place < UnscrambledSignatures.size() * stride; ++place) {
    places.emplace(readBlock(&UnscrambledSignatures[place / stride][place % stride]), place);
  }
  for (std::size_t at = 0; at + sizeof(std::uint32_t) <= bytes.size(); at += stride) {
    for (auto [found, end] = places.equal_range(readBlock(&bytes[at])); found != end; ++found) {
      const std::string_view signature = UnscrambledSignatures[found->second / stride];
      const std::size_t offset = found->second % stride;
      if (offset <= at && bytes.substr(at - offset).starts_with(signature)) return UnscrambledBinary;
    }
  }
  return ScrambledBinary;
}

}  // namespace mMain
