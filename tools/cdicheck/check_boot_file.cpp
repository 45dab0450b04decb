#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "disc/bytes.h"
#include "scramble/permutation.h"

namespace cdicheck {
namespace {

/// The room from 0x8C010000 to the end of memory at 0x8D000000.
constexpr std::uint32_t LargestBootFile = 0xFF0000;

constexpr std::string_view ElfMagic("\177ELF");

/// A shorter file is not judged.
constexpr std::size_t ShortestProgram = 512;

/// The least address share of a program, in percent.
constexpr int ProgramShare = 25;

/// Returns true for an address of memory, of uncached memory, or of a register.
bool IsConsoleAddress(std::uint32_t value) {
  const std::uint32_t area = value >> 24;
  return area == 0x0C || area == 0x8C || area == 0xAC || area == 0xFF || (value >> 16) == 0xA05F;
}

/// Returns how much `program` (plain) looks like SH-4 code, in percent. Compilers load addresses from pools
/// of constants near the code, and these loads are easy to find. Three in four of them load an address of the
/// console in a program; one or two in ten where the slices are in the wrong order; two in a hundred in
/// random bytes. 0 if there are fewer than two. Reads the start only, where the code is.
int AddressShare(std::span<const std::byte> program) {
  constexpr std::size_t start = std::size_t{64} * 1024;
  std::size_t loads = 0, addresses = 0;
  for (std::size_t at = 0; at + 2 <= std::min(program.size(), start); at += 2) {
    const std::uint32_t instruction = disc::ReadNumber(program, {at, 2});
    if (instruction >> 12 != 0xD) continue;  // mov.l @(disp,pc),rn
    const std::size_t constant = (at & ~std::size_t{3}) + 4 + 4 * std::size_t{instruction & 0xFF};
    if (constant + 4 > program.size()) continue;
    ++loads;
    if (IsConsoleAddress(disc::ReadNumber(program, {constant, 4}))) ++addresses;
  }
  return addresses < 2 ? 0 : static_cast<int>(addresses * 100 / loads);
}

std::optional<Problem> CheckProgram(std::span<const std::byte> stored) {
  if (disc::ReadText(stored, {0, stored.size()}).starts_with(ElfMagic)) return Describe("elf-file");
  if (stored.size() < ShortestProgram) return std::nullopt;
  std::vector<std::byte> plain(stored.size());
  scramble::Unscramble(stored, plain);
  const int plainShare = AddressShare(plain);
  const int storedShare = AddressShare(stored);
  if (std::max(plainShare, storedShare) < ProgramShare) return Describe("not-a-program");
  return storedShare > plainShare ? std::optional(Describe("not-scrambled")) : std::nullopt;
}

/// Describes a boot file that is not in the root.
Problem DescribeMissing(const std::vector<FileEntry>& files, const std::string& name) {
  const auto elsewhere =
      std::ranges::find_if(files, [&](const FileEntry& entry) { return entry.path.ends_with("/" + name); });
  return elsewhere == files.end() ? Describe("no-boot-file", {name})
                                  : Describe("boot-file-in-folder", {name, elsewhere->path});
}

}  // namespace

std::vector<Problem> CheckBootFile(const cdi::Image& image, const Volume& volume, const std::string& name) {
  if (name.empty()) return {Describe("no-boot-file-name")};
  if (name.find_first_of("/\\") != std::string::npos) return {Describe("boot-file-path", {name})};
  const auto file = std::ranges::find(volume.files, name, &FileEntry::path);
  if (file == volume.files.end()) return {DescribeMissing(volume.files, name)};
  std::vector<Problem> found;
  if (!file->hasVersion) found.push_back(Describe("no-file-version"));
  if (file->size > LargestBootFile) {
    found.push_back(
        Describe("boot-file-too-large", {std::to_string(file->size), std::to_string(LargestBootFile)}));
  } else if (file->size == 0) {
    found.push_back(Describe("boot-file-empty"));
  } else {
    try {
      const auto problem = CheckProgram(image.UserData(file->lba, file->size));
      if (problem) found.push_back(*problem);
    } catch (const cdi::FormatError&) {
      found.push_back(Describe("boot-file-outside"));
    }
  }
  return found;
}

}  // namespace cdicheck
