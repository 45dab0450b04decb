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
    if (sizesAreKnown) found.problems.push_back(Describe("no-data-track"));
    return found;
  }
  found.start = track->lba;
  if (session.front().mode == cdi::track_block::Audio)
    found.problems.push_back(Describe("audio-track-first"));
  if (track->mode != cdi::track_block::Mode2) found.problems.push_back(Describe("wrong-mode"));
  return found;
}

void Append(std::vector<Problem>& problems, const std::vector<Problem>& found) {
  problems.insert(problems.end(), found.begin(), found.end());
}

}  // namespace

Report Check(const cdi::Source& source, const SectorsVerified& verified) {
  Report report;
  try {
    report.image = cdi::ParseImage(source);
  } catch (const cdi::UnknownVersion& error) {
    if (!StartsLikeAnImage(source)) throw;
    report.problems.push_back(Describe("unknown-version", {error.what()}));
    return report;
  } catch (const cdi::NoDescriptor&) {
    if (!StartsLikeAnImage(source)) throw;
    report.problems.push_back(Describe("truncated"));
    return report;
  }
  const cdi::Image& image = *report.image;
  Append(report.problems, CheckLayout(image));
  const BootTrack track = FindBootTrack(image);
  Append(report.problems, track.problems);
  const Sectors sectors = CheckSectors(image, verified);
  Append(report.problems, sectors.problems);
  if (!track.start) return report;

  const BootSector bootSector = CheckBootSector(image, *track.start);
  report.bootHeader = bootSector.header;
  Append(report.problems, bootSector.problems);
  try {
    report.volume = ReadVolume(image, *track.start);
  } catch (const WrongAddress& error) {
    // A track at sector 0 has no other sessions before it, so the option would not help.
    report.problems.push_back(*track.start == 0 ? Describe("no-volume", {error.what()})
                                                : Describe("wrong-address", {std::to_string(*track.start)}));
    return report;
  } catch (const cdi::FormatError& error) {
    report.problems.push_back(Describe("no-volume", {error.what()}));
    return report;
  }
  if (const auto& folder = report.volume->unreadable) {
    report.problems.push_back(Describe("folder-unreadable", {folder->path, folder->reason}));
  }
  Append(report.problems, CheckFiles(image, *report.volume, bootSector.bootFile, sectors.empty));
  if (!bootSector.header.empty()) {
    Append(report.problems, CheckBootFile(image, *report.volume, bootSector.bootFile));
  }
  return report;
}

}  // namespace cdicheck
