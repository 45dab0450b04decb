#include <algorithm>
#include <cstdint>
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

}  // namespace

std::vector<Problem> CheckLayout(const cdi::Image& image) {
  std::vector<Problem> found;
  const bool sizesAreKnown = std::ranges::all_of(image.tracks, &cdi::Track::sectorSize);
  if (image.tracksEnd > image.descriptorOffset) {
    found.push_back(Describe(problems::TracksMissing,
                             {std::to_string(image.tracksEnd), std::to_string(image.descriptorOffset)}));
  } else if (sizesAreKnown && image.tracksEnd < image.descriptorOffset) {
    found.push_back(
        Describe(problems::BytesOfNoTrack, {std::to_string(image.descriptorOffset - image.tracksEnd)}));
  }
  if (!sizesAreKnown) found.push_back(Describe(problems::UnknownSectorSize));
  if (std::ranges::any_of(image.tracks, HasWrongLength)) found.push_back(Describe(problems::WrongLength));
  std::int64_t end = 0;
  for (const cdi::Track& track : image.tracks) {
    end = std::max(end, track.lba + static_cast<std::int64_t>(track.length));
  }
  if (end > cdi::DiscCapacity) {
    found.push_back(Describe(problems::TooLong, {std::to_string(end), std::to_string(cdi::DiscCapacity)}));
  }
  return found;
}

}  // namespace cdicheck
