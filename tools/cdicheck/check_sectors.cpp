#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cdi/descriptor.h"
#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "common/threads.h"

namespace cdicheck {
namespace {

/// The damaged and the empty sectors of all tracks, to which two threads add.
struct Findings {
  std::mutex mutex;
  std::uint64_t damaged = 0;
  std::pair<std::int64_t, std::string_view> firstDamaged;  ///< LBA and wrong part
  std::vector<std::int64_t> empty;
};

/// Returns true for a Mode 2 sector whose stored bytes from the subheader on are zero. A writer never leaves
/// a zero subheader in a file.
bool IsEmpty(std::span<const std::byte> sector, std::uint32_t mode) {
  if (mode != cdi::track_block::Mode2 || sector.size() < cdi::StoredSectorSize) return false;
  const std::size_t start = sector.size() < cdi::RawSectorSize ? 0 : cdi::SyncAndHeaderSize;
  return std::ranges::all_of(sector.subspan(start, cdi::StoredSectorSize),
                             [](std::byte byte) { return byte == std::byte{0}; });
}

void VerifyBatches(const cdi::Source& source, const cdi::Track& track, std::atomic<std::uint64_t>& next,
                   Findings& findings, const std::function<void(std::size_t)>& verified) {
  std::vector<std::byte> sectors(tools::SectorsAtOnce * track.sectorSize);
  tools::ForEachBatch(next, track.stored, [&](std::uint64_t first, std::size_t count) {
    const auto batch = std::span(sectors).first(count * track.sectorSize);
    source.read(track.offset + first * track.sectorSize, batch);
    for (std::size_t i = 0; i < count; ++i) {
      const std::int64_t lba = track.lba + static_cast<std::int64_t>(first + i);
      const auto sector = batch.subspan(i * track.sectorSize, track.sectorSize);
      const std::string_view part = cdi::FindWrongPart(sector, track.mode, lba);
      const bool isEmpty = IsEmpty(sector, track.mode);
      if (part.empty() && !isEmpty) continue;
      const std::lock_guard lock(findings.mutex);
      if (isEmpty) findings.empty.push_back(lba);
      if (part.empty()) continue;
      const std::pair damage(lba, part);
      findings.firstDamaged = findings.damaged == 0 ? damage : std::min(findings.firstDamaged, damage);
      ++findings.damaged;
    }
    verified(count);
  });
}

/// Returns true if the sectors of a track contain anything that can be verified.
bool CanVerify(const cdi::Track& track) {
  return track.IsData() && track.sectorSize != cdi::UserDataSize;
}

}  // namespace

Sectors CheckSectors(const cdi::Image& image, const SectorsVerified& verified) {
  std::uint64_t total = 0;
  for (const cdi::Track& track : image.tracks) total += CanVerify(track) ? track.stored : 0;
  const auto addVerified = [&](std::size_t count) {
    if (verified) verified(count, total);
  };
  Findings findings;
  for (const cdi::Track& track : image.tracks) {
    if (!CanVerify(track)) continue;
    std::atomic<std::uint64_t> next = 0;
    const auto verify = [&] { VerifyBatches(image.source, track, next, findings, addVerified); };
    track.stored > tools::SectorsAtOnce ? tools::OnTwoThreads(verify) : verify();
  }
  Sectors sectors{.empty = std::move(findings.empty), .problems = {}};
  std::ranges::sort(sectors.empty);
  if (findings.damaged > 0) {
    const auto& [lba, part] = findings.firstDamaged;
    sectors.problems.push_back(Describe(
        "damaged-sectors", {std::to_string(findings.damaged), std::to_string(lba), std::string(part)}));
  }
  return sectors;
}

}  // namespace cdicheck
