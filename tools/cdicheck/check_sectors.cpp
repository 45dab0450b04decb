#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "common/threads.h"

namespace cdicheck {
namespace {

/// The damaged sectors of one track or of several, to which two threads add.
class Damage {
 public:
  void Add(std::int64_t lba) {
    const std::lock_guard lock(mutex_);
    first_ = count_ == 0 ? lba : std::min(first_, lba);
    ++count_;
  }

  std::uint64_t Count() const { return count_; }
  std::int64_t First() const { return first_; }

 private:
  std::mutex mutex_;
  std::uint64_t count_ = 0;
  std::int64_t first_ = 0;
};

void VerifyBatches(const cdi::Source& source, const cdi::Track& track, std::atomic<std::uint64_t>& next,
                   Damage& damage) {
  std::vector<std::byte> sectors(tools::SectorsAtOnce * track.sectorSize);
  tools::ForEachBatch(next, track.stored, [&](std::uint64_t first, std::size_t count) {
    const auto batch = std::span(sectors).first(count * track.sectorSize);
    source.read(track.offset + first * track.sectorSize, batch);
    for (std::size_t i = 0; i < count; ++i) {
      const std::int64_t lba = track.lba + static_cast<std::int64_t>(first + i);
      const auto sector = batch.subspan(i * track.sectorSize, track.sectorSize);
      if (!cdi::IsIntact(sector, track.mode, lba)) damage.Add(lba);
    }
  });
}

}  // namespace

void CheckSectors(Report& report) {
  Damage damage;
  for (const cdi::Track& track : report.image->tracks) {
    if (!track.IsData() || track.sectorSize == cdi::UserDataSize) continue;  // nothing that could be verified
    std::atomic<std::uint64_t> next = 0;
    const auto verify = [&] { VerifyBatches(report.image->source, track, next, damage); };
    track.stored > tools::SectorsAtOnce ? tools::OnTwoThreads(verify) : verify();
  }
  const std::string first = std::to_string(damage.First());
  if (damage.Count() == 1) {
    Add(report, problems::DamagedSector, {first});
  } else if (damage.Count() > 1) {
    Add(report, problems::DamagedSectors, {std::to_string(damage.Count()), first});
  }
}

}  // namespace cdicheck
