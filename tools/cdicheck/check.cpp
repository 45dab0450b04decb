#include "cdicheck/check.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cdi/descriptor.h"
#include "cdi/make_descriptor.h"
#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "disc/boot_header.h"
#include "disc/bytes.h"

namespace cdicheck {
namespace {

/// Looks for the boot header where images with one short audio track have it.
bool StartsLikeAnImage(const cdi::Source& source) {
  using namespace disc::boot_header;
  try {
    const auto start = source.Bytes(cdi::DataTrackOffset + cdi::SubheaderSize, HardwareId.width);
    return disc::ReadText(start, HardwareId).starts_with(DreamcastId);
  } catch (const cdi::FormatError&) {
    return false;
  }
}

struct BootTrack {
  std::optional<std::int64_t> start;  ///< LBA
  std::vector<Problem> problems;
};

/// Looks for the data track that the disc boots from. It is the first track of the last session. After an
/// audio track, the disc may boot from the first data track.
BootTrack FindBootTrack(const cdi::Image& image) {
  const auto session = image.LastSession();
  const auto track = std::ranges::find_if(session, &cdi::Track::IsData);
  BootTrack found;
  if (track == session.end()) {
    const bool sizesAreKnown = std::ranges::all_of(session, &cdi::Track::sectorSize);
    if (sizesAreKnown) found.problems.push_back(Describe(problems::NoDataTrack));
    return found;
  }
  found.start = track->lba;
  if (session.front().mode == cdi::track_block::Audio)
    found.problems.push_back(Describe(problems::AudioFirst));
  if (track->mode != cdi::track_block::Mode2) found.problems.push_back(Describe(problems::OtherMode));
  return found;
}

void Append(std::vector<Problem>& problems, const std::vector<Problem>& found) {
  problems.insert(problems.end(), found.begin(), found.end());
}

}  // namespace

Report Check(const cdi::Source& source) {
  Report report;
  try {
    report.image = cdi::ParseImage(source);
  } catch (const cdi::NoDescriptor&) {
    if (!StartsLikeAnImage(source)) throw;
    report.problems.push_back(Describe(problems::Truncated));
    return report;
  }
  const cdi::Image& image = *report.image;
  Append(report.problems, CheckLayout(image));
  const BootTrack track = FindBootTrack(image);
  Append(report.problems, track.problems);
  Append(report.problems, CheckSectors(image));
  if (!track.start) return report;

  const BootSector bootSector = CheckBootSector(image, *track.start);
  report.bootHeader = bootSector.header;
  Append(report.problems, bootSector.problems);
  try {
    report.volume = ReadVolume(image, *track.start);
  } catch (const cdi::OutsideTracks& error) {
    report.problems.push_back(
        Describe(problems::VolumeElsewhere, {error.what(), std::to_string(*track.start)}));
    return report;
  } catch (const cdi::FormatError& error) {
    report.problems.push_back(Describe(problems::VolumeUnreadable, {error.what()}));
    return report;
  }
  if (const auto& folder = report.volume->unreadable) {
    report.problems.push_back(Describe(problems::FolderUnreadable, {folder->path, folder->reason}));
  }
  if (!bootSector.header.empty()) {
    Append(report.problems, CheckBootFile(image, *report.volume, bootSector.bootFile));
  }
  return report;
}

}  // namespace cdicheck
