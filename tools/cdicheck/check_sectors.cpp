#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "cdi/descriptor.h"
#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "disc/bytes.h"

namespace cdicheck {
namespace {

constexpr disc::Field Submode{2, 1};
constexpr std::uint32_t Form2 = 0x20;
constexpr disc::Field StoredEdc{cdi::EdcOffset, 4};

bool IsCorrect(std::span<const std::byte> stored) {
  if ((disc::ReadNumber(stored, Submode) & Form2) != 0) return true;  // carries no error correction
  std::array<std::byte, cdi::StoredSectorSize> expected;
  cdi::EncodeSector(stored.subspan(cdi::SubheaderSize).first<cdi::UserDataSize>(), expected);
  if (std::ranges::equal(stored, expected)) return true;
  // Another subheader has another EDC; its ECC is left alone.
  const bool ownSubheader =
      !std::ranges::equal(stored.first(cdi::SubheaderSize), std::span(expected).first(cdi::SubheaderSize));
  return ownSubheader && cdi::Edc(stored.first(cdi::EdcOffset)) == disc::ReadNumber(stored, StoredEdc);
}

}  // namespace

void CheckSectors(const cdi::Source& source, const DataTrack& data, Report& report) {
  const cdi::Track& track = data.Track();
  if (track.mode != cdi::track_block::Mode2) {
    Add(report, problems::OtherMode);
    return;
  }
  if (track.sectorSize < cdi::StoredSectorSize) return;
  std::uint32_t bad = 0, firstBad = 0;
  for (std::uint32_t i = 0; i < track.length && data.Holds(track.start + i); ++i) {
    const auto stored = source.Bytes(
        track.offset + std::uint64_t{i} * track.sectorSize + data.SubheaderOffset(), cdi::StoredSectorSize);
    if (IsCorrect(stored)) continue;
    if (bad++ == 0) firstBad = track.start + i;
  }
  if (bad == 1) {
    Add(report, problems::DamagedSector, {std::to_string(firstBad)});
  } else if (bad > 1) {
    Add(report, problems::DamagedSectors, {std::to_string(bad), std::to_string(firstBad)});
  }
}

}  // namespace cdicheck
