#include "cdicheck/check.h"

#include <algorithm>
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

const cdi::Track* FindBootTrack(const cdi::Image& image) {
  const auto found = std::ranges::find_if(image.tracks, [&](const cdi::Track& track) {
    return track.session + 1 == image.sessions && track.mode != cdi::track_block::Audio &&
           track.sectorSize != 0;
  });
  return found == image.tracks.end() ? nullptr : &*found;
}

void CheckVolume(const DataTrack& data, Report& report) {
  try {
    report.volume = ReadVolume(data);
  } catch (const OutsideTrack& error) {
    const std::string start = std::to_string(data.Track().start);
    Add(report, problems::VolumeElsewhere, {error.what(), start, start});
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
  const cdi::Track* track = FindBootTrack(*report.image);
  if (track == nullptr) {
    Add(report, problems::NoDataTrack);
    return report;
  }
  const DataTrack data(source, *track);
  CheckSectors(source, data, report);
  CheckBootSector(data, report);
  CheckVolume(data, report);
  if (report.volume && !report.bootHeader.empty()) CheckBootFile(data, report);
  return report;
}

}  // namespace cdicheck
