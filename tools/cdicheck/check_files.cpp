#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "cdi/sector.h"
#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"

namespace cdicheck {
namespace {

/// Returns the LBA after the last sector of a file.
std::int64_t EndOf(const FileEntry& file) {
  const std::uint64_t sectors = (std::uint64_t{file.size} + cdi::UserDataSize - 1) / cdi::UserDataSize;
  return file.lba + static_cast<std::int64_t>(sectors);
}

/// The empty sectors of one file or of several.
struct Hole {
  std::int64_t first = 0;  ///< LBA
  std::int64_t count = 0;

  void Add(const FileEntry& file, const std::vector<std::int64_t>& empty) {
    const auto begin = std::ranges::lower_bound(empty, std::int64_t{file.lba});
    const auto end = std::lower_bound(begin, empty.end(), EndOf(file));
    if (begin == end) return;
    first = count == 0 ? *begin : std::min(first, *begin);
    count += end - begin;
  }
};

}  // namespace

std::vector<Problem> CheckFiles(const cdi::Image& image, const Volume& volume, const std::string& bootFile,
                                const std::vector<std::int64_t>& empty) {
  Hole inBootFile, inOthers;
  std::uint64_t outside = 0;
  std::string firstOutside;
  for (const FileEntry& file : volume.files) {
    const bool boots = file.path == bootFile;
    (boots ? inBootFile : inOthers).Add(file, empty);
    if (boots || image.AreInDataTracks(file.lba, EndOf(file))) continue;
    if (outside++ == 0) firstOutside = file.path;
  }
  std::vector<Problem> found;
  if (outside > 0) {
    found.push_back(Describe("files-outside-tracks", {std::to_string(outside), firstOutside}));
  }
  if (inOthers.count > 0) {
    found.push_back(Describe("hole", {std::to_string(inOthers.count), std::to_string(inOthers.first)}));
  }
  if (inBootFile.count > 0) {
    found.push_back(
        Describe("hole-in-boot-file", {std::to_string(inBootFile.count), std::to_string(inBootFile.first)}));
  }
  return found;
}

}  // namespace cdicheck
