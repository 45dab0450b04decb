#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "cdi/descriptor.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"

namespace cdicheck {
namespace {

bool HasWrongLength(const cdi::Track& track) {
  return track.pregap + track.length != track.total || track.total != track.totalAgain;
}

/// Lead-out, lead-in and pregap, in sectors.
constexpr std::int64_t FirstGap = 11400;
constexpr std::int64_t LaterGap = 6900;

std::int64_t EndOf(const cdi::Track& track) {
  return track.lba + static_cast<std::int64_t>(track.length);
}

bool StartsInAudio(const cdi::Track& track, const std::vector<cdi::Track>& tracks) {
  return track.mode != cdi::track_block::Audio && std::ranges::any_of(tracks, [&](const cdi::Track& other) {
           return other.mode == cdi::track_block::Audio && track.lba >= other.lba && track.lba < EndOf(other);
         });
}

/// Checks the distance from the last track of each session to the first one of the next.
std::vector<Problem> CheckGaps(const std::vector<cdi::Track>& tracks) {
  std::vector<Problem> found;
  for (std::size_t i = 1; i < tracks.size(); ++i) {
    if (tracks[i].session == tracks[i - 1].session) continue;
    const std::int64_t gap = tracks[i].lba - EndOf(tracks[i - 1]);
    const std::int64_t expected = tracks[i - 1].session == 0 ? FirstGap : LaterGap;
    if (gap == expected) continue;
    found.push_back(Describe("wrong-session-gap", {std::to_string(gap), std::to_string(tracks[i].session + 1),
                                                   std::to_string(expected)}));
  }
  return found;
}

}  // namespace

std::vector<Problem> CheckLayout(const cdi::Image& image) {
  std::vector<Problem> found;
  if (image.bytesAfter > 0) {
    found.push_back(Describe("bytes-after-descriptor", {std::to_string(image.bytesAfter)}));
  }
  const bool sizesAreKnown = std::ranges::all_of(image.tracks, &cdi::Track::sectorSize);
  if (image.tracksEnd > image.descriptorOffset) {
    found.push_back(Describe("tracks-missing",
                             {std::to_string(image.tracksEnd), std::to_string(image.descriptorOffset)}));
  } else if (sizesAreKnown && image.tracksEnd < image.descriptorOffset) {
    found.push_back(
        Describe("bytes-outside-tracks", {std::to_string(image.descriptorOffset - image.tracksEnd)}));
  }
  if (!sizesAreKnown) found.push_back(Describe("unknown-sector-size"));
  if (std::ranges::any_of(image.tracks, HasWrongLength)) found.push_back(Describe("wrong-track-length"));
  for (const cdi::Track& track : image.tracks) {
    if (StartsInAudio(track, image.tracks)) {
      found.push_back(Describe("tracks-overlap", {std::to_string(track.lba)}));
    }
  }
  std::ranges::move(CheckGaps(image.tracks), std::back_inserter(found));
  if (image.sessions == 1) found.push_back(Describe("one-session"));
  std::int64_t end = 0;
  for (const cdi::Track& track : image.tracks) end = std::max(end, EndOf(track));
  if (end > cdi::DiscCapacity) {
    found.push_back(Describe("disc-too-long", {std::to_string(end), std::to_string(cdi::DiscCapacity)}));
  }
  if (image.unusualValue) {
    found.push_back(Describe("descriptor-value", {std::to_string(*image.unusualValue)}));
  }
  if (image.hasOtherIndexesOrCdText) found.push_back(Describe("cd-text"));
  return found;
}

}  // namespace cdicheck
