#include "bootfile/classify.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "bootfile/signatures.h"

namespace mMain {
namespace {

constexpr std::string_view ElfMagic =
    "\x7F"
    "ELF";

// The search is Wu and Manber's (1994): a window as long as the shortest signature slides over the file, and
// the block of four bytes at its end tells how far it may move on before any signature could begin to fit.
// Four bytes and not two, so that hardly any block of plain code, text or zeros belongs to a signature.

constexpr std::size_t BlockLength = 4;
constexpr std::size_t WindowLength =
    std::ranges::min(UnscrambledSignatures, {}, &std::string_view::size).size();
constexpr std::size_t LastBlock = WindowLength - BlockLength;

using ShiftTable = std::array<std::uint8_t, 1 << 13>;

std::size_t SlotOf(const char* block) {
  std::uint32_t value = 0;
  std::memcpy(&value, block, BlockLength);
  return (value * 0x9E3779B1U) >> (32 - 13);
}

/// Which part of a longer signature the window looks for: the one in which a block of zeros stands farthest
/// from the end, so that the zeros that fill so many programs are passed in long steps.
constexpr std::size_t WindowOffset(std::string_view signature) {
  constexpr std::string_view zeros("\0\0\0\0", BlockLength);
  const auto lastZeros = [&](std::size_t offset) {
    return signature.substr(offset, WindowLength).rfind(zeros) + 1;  // none: 0
  };
  std::size_t best = 0;
  for (std::size_t offset = 1; offset + WindowLength <= signature.size(); ++offset) {
    if (lastZeros(offset) < lastZeros(best)) best = offset;
  }
  return best;
}

ShiftTable MakeShiftTable() {
  ShiftTable shifts;
  shifts.fill(static_cast<std::uint8_t>(LastBlock + 1));
  for (const std::string_view signature : UnscrambledSignatures) {
    const char* window = signature.data() + WindowOffset(signature);
    for (std::size_t i = 0; i <= LastBlock; ++i) {
      std::uint8_t& shift = shifts[SlotOf(window + i)];
      shift = std::min(shift, static_cast<std::uint8_t>(LastBlock - i));
    }
  }
  return shifts;
}

bool SignatureStandsAround(std::string_view file, std::size_t window) {
  return std::ranges::any_of(UnscrambledSignatures, [&](std::string_view signature) {
    const std::size_t offset = WindowOffset(signature);
    return offset <= window && file.substr(window - offset).starts_with(signature);
  });
}

bool HoldsSignature(std::string_view file) {
  const ShiftTable shifts = MakeShiftTable();
  for (std::size_t window = 0; window + WindowLength <= file.size();) {
    const std::size_t shift = shifts[SlotOf(file.data() + window + LastBlock)];
    if (shift == 0 && SignatureStandsAround(file, window)) return true;
    window += std::max<std::size_t>(shift, 1);
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
