#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "common/threads.h"

namespace cdicheck {
namespace {

/// The damaged sectors of all tracks. Several threads can report to it.
class Damage {
 public:
  void Report(std::int64_t lba, std::string_view part) {
    const std::lock_guard lock(mutex_);
    first_ = count_ == 0 ? std::pair(lba, part) : std::min(first_, {lba, part});
    ++count_;
  }

  std::vector<Problem> Describe() const {
    if (count_ == 0) return {};
    const std::string lba = std::to_string(first_.first), part(first_.second);
    if (count_ == 1) return {cdicheck::Describe(problems::DamagedSector, {lba, part})};
    return {cdicheck::Describe(problems::DamagedSectors, {std::to_string(count_), lba, part})};
  }

 private:
  std::mutex mutex_;
  std::uint64_t count_ = 0;
  std::pair<std::int64_t, std::string_view> first_;
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
      const std::string_view part = cdi::FindWrongPart(sector, track.mode, lba);
      if (!part.empty()) damage.Report(lba, part);
    }
  });
}

}  // namespace

std::vector<Problem> CheckSectors(const cdi::Image& image) {
  Damage damage;
  for (const cdi::Track& track : image.tracks) {
    if (!track.IsData() || track.sectorSize == cdi::UserDataSize) continue;  // without anything to verify
    std::atomic<std::uint64_t> next = 0;
    const auto verify = [&] { VerifyBatches(image.source, track, next, damage); };
    track.stored > tools::SectorsAtOnce ? tools::OnTwoThreads(verify) : verify();
  }
  return damage.Describe();
}

}  // namespace cdicheck
