#include <algorithm>
#include <cstdint>
#include <string>

#include "cdi/descriptor.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"

namespace cdicheck {

void CheckLayout(Report& report) {
  const cdi::Image& image = *report.image;
  const bool sizesAreKnown = std::ranges::all_of(image.tracks, &cdi::Track::sectorSize);
  if (image.tracksEnd > image.descriptorOffset) {
    Add(report, problems::TracksMissing,
        {std::to_string(image.tracksEnd), std::to_string(image.descriptorOffset)});
  } else if (sizesAreKnown && image.tracksEnd < image.descriptorOffset) {
    Add(report, problems::BytesOfNoTrack, {std::to_string(image.descriptorOffset - image.tracksEnd)});
  }
  std::int64_t end = 0;
  for (const cdi::Track& track : image.tracks) {
    if (track.sectorSize == 0) Add(report, problems::UnknownSectorSize);
    if (track.pregap + track.length != track.total || track.total != track.totalAgain) {
      Add(report, problems::WrongLength);
    }
    end = std::max(end, track.lba + static_cast<std::int64_t>(track.length));
  }
  if (end > cdi::DiscCapacity) {
    Add(report, problems::TooLong, {std::to_string(end), std::to_string(cdi::DiscCapacity)});
  }
}

}  // namespace cdicheck
