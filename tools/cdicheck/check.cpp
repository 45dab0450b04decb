#include "cdicheck/check.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "cdi/descriptor.h"
#include "cdi/image.h"
#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "disc/boot_header.h"
#include "disc/bytes.h"

namespace cdicheck {
namespace {

/// The boot header at the one place where images with one short audio track have it.
bool StartsLikeAnImage(const cdi::Source& source) {
  using namespace disc::boot_header;
  try {
    const auto start = source.Bytes(cdi::DataTrackOffset + cdi::SubheaderSize, Hardware.width);
    return disc::ReadText(start, Hardware).starts_with(HardwareId);
  } catch (const cdi::FormatError&) {
    return false;
  }
}

/// The LBA of the boot sector: the disc starts from the first track of its last session. With audio in front,
/// it may do so from the first data track.
std::optional<std::int64_t> FindBootSector(Report& report) {
  const auto session = report.image->LastSession();
  const auto track = std::ranges::find_if(session, &cdi::Track::IsData);
  if (track == session.end()) {
    const bool sizesAreKnown = std::ranges::all_of(session, &cdi::Track::sectorSize);
    if (sizesAreKnown) Add(report, problems::NoDataTrack);
    return std::nullopt;
  }
  if (session.front().mode == cdi::track_block::Audio) Add(report, problems::AudioInFront);
  if (track->mode != cdi::track_block::Mode2) Add(report, problems::OtherMode);
  return track->lba;
}

void CheckVolume(std::int64_t start, Report& report) {
  try {
    report.volume = ReadVolume(*report.image, start);
    if (const auto& folder = report.volume->unreadable) {
      Add(report, problems::FolderUnreadable, {folder->path, folder->reason});
    }
  } catch (const cdi::OutsideTracks& error) {
    Add(report, problems::VolumeElsewhere, {error.what(), std::to_string(start)});
  } catch (const cdi::FormatError& error) {
    Add(report, problems::VolumeUnreadable, {error.what()});
  }
}

}  // namespace

Report Check(const cdi::Source& source) {
  Report report;
  try {
    report.image = cdi::ParseImage(source);
  } catch (const cdi::NoDescriptor&) {
    if (!StartsLikeAnImage(source)) throw;
    Add(report, problems::Truncated);
    return report;
  }
  CheckLayout(report);
  const auto start = FindBootSector(report);
  CheckSectors(report);
  if (!start) return report;
  CheckBootSector(*start, report);
  CheckVolume(*start, report);
  if (report.volume && !report.bootHeader.empty()) CheckBootFile(report);
  return report;
}

}  // namespace cdicheck
