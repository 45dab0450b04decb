#include <algorithm>
#include <cstddef>
#include <cstdint>
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

/// A boot file lies between 0x8C010000 and the end of memory at 0x8D000000.
constexpr std::uint32_t LargestBootFile = 0xFF0000;

constexpr std::string_view ElfMagic("\177ELF");

/// Of less it cannot be told whether it is a program.
constexpr std::size_t ShortestProgram = 512;

/// The least address share of a program, in percent.
constexpr int ProgramShare = 25;

/// Memory, uncached memory, or a register of the console or its processor.
bool IsConsoleAddress(std::uint32_t value) {
  const std::uint32_t area = value >> 24;
  return area == 0x0C || area == 0x8C || area == 0xAC || area == 0xFF || (value >> 16) == 0xA05F;
}

/// How much `program` (plain, as it lies in memory) looks like SH-4 code, in percent. Compilers load
/// addresses from pools of constants near the code. Of these loads, which are easy to find, three in four
/// give an address of the console in a program; one or two in ten where its slices stand in the wrong order,
/// and two in a hundred in random bytes. 0 if there are fewer than two. Only the start is looked at, where
/// the code is.
int AddressShare(std::span<const std::byte> program) {
  constexpr std::size_t start = std::size_t{64} * 1024;
  std::size_t loads = 0, addresses = 0;
  for (std::size_t at = 0; at + 2 <= std::min(program.size(), start); at += 2) {
    const std::uint32_t instruction = disc::ReadNumber(program, {at, 2});
    if (instruction >> 12 != 0xD) continue;  // mov.l @(disp,pc),rn
    const std::size_t constant = (at & ~std::size_t{3}) + 4 + 4 * std::size_t{instruction & 0xFF};
    if (constant + 4 > program.size()) continue;
    ++loads;
    addresses += IsConsoleAddress(disc::ReadNumber(program, {constant, 4})) ? 1 : 0;
  }
  return addresses < 2 ? 0 : static_cast<int>(addresses * 100 / loads);
}

void CheckProgram(std::span<const std::byte> stored, Report& report) {
  if (disc::ReadText(stored, {0, stored.size()}).starts_with(ElfMagic)) {
    Add(report, problems::ElfFile);
    return;
  }
  if (stored.size() < ShortestProgram) return;
  std::vector<std::byte> plain(stored.size());
  scramble::Unscramble(stored, plain);
  const int plainShare = AddressShare(plain);
  const int storedShare = AddressShare(stored);
  if (std::max(plainShare, storedShare) < ProgramShare) {
    Add(report, problems::NoProgram);
  } else if (storedShare > plainShare) {
    Add(report, problems::NotScrambled);
  }
}

}  // namespace

void CheckBootFile(Report& report) {
  const std::string& name = report.bootFile;
  const auto& files = report.volume->files;
  const auto file = std::ranges::find(files, name, &FileEntry::path);
  if (file == files.end()) {
    const auto elsewhere =
        std::ranges::find_if(files, [&](const FileEntry& entry) { return entry.path.ends_with("/" + name); });
    if (elsewhere != files.end()) {
      Add(report, problems::BootFileInFolder, {name, elsewhere->path});
    } else {
      Add(report, problems::NoBootFile, {name});
    }
    return;
  }
  if (!file->hasVersion) Add(report, problems::NoFileVersion);
  if (file->size > LargestBootFile) {
    Add(report, problems::BootFileTooLarge, {std::to_string(file->size), std::to_string(LargestBootFile)});
    return;
  }
  if (file->size == 0) {
    Add(report, problems::BootFileEmpty);
    return;
  }
  try {
    CheckProgram(report.image->UserData(file->lba, file->size), report);
  } catch (const cdi::FormatError&) {
    Add(report, problems::BootFileOutside);
  }
}

}  // namespace cdicheck
