#include "bootfile/classify.h"

#include <bit>
#include <cstdint>
#include <unordered_map>

#include "bootfile/signatures.h"

namespace mMain {

BootFileKind ClassifyBootFile(std::span<const std::byte> file) {
  using enum BootFileKind;
  const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
  if (bytes.starts_with("\177ELF")) return ElfFile;

  // Each signature begins with 33 blocks of four bytes, one at each of its first 33 bytes, so wherever it
  // stands, one of them lies at a multiple of 33 of the file: nothing else needs a look.
  constexpr std::size_t stride = 33;
  const auto readBlock = [](const char* c) {
    return std::bit_cast<std::uint32_t>(std::array{c[0], c[1], c[2], c[3]});
  };
  std::unordered_multimap<std::uint32_t, std::size_t> places;  // signature * stride + offset
  places.max_load_factor(0.125F);                              // an empty bucket tells soonest
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
