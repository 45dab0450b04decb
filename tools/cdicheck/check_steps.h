#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cdicheck/check.h"

/// The steps of a check. What cannot be read is a problem: only a failure of `cdi::Source::read` is thrown.
namespace cdicheck {

/// Checks the descriptor, and compares the tracks with the size of the file, with each other, and with the
/// capacity of a disc.
std::vector<Problem> CheckLayout(const cdi::Image& image);

struct Sectors {
  std::vector<std::int64_t> empty;  ///< LBAs of Mode 2 sectors that are zero, subheader included; sorted
  std::vector<Problem> problems;
};

/// Verifies every sector of every data track.
Sectors CheckSectors(const cdi::Image& image, const SectorsVerified& verified);

struct BootSector {
  std::vector<HeaderField> header;  ///< empty if there is no boot header
  std::string bootFile;             ///< the name in the header
  std::vector<Problem> problems;
};

/// Reads the boot sector that begins at LBA `start`, and checks its header and its code.
BootSector CheckBootSector(const cdi::Image& image, std::int64_t start);

/// Checks that all files are in data tracks, and that no sector of them is in `empty`. The boot file
/// `bootFile` may only have holes here, because `CheckBootFile` checks its place.
std::vector<Problem> CheckFiles(const cdi::Image& image, const Volume& volume, const std::string& bootFile,
                                const std::vector<std::int64_t>& empty);

/// Checks the file `name` in the root of the volume: that it exists, and that it is a scrambled program.
std::vector<Problem> CheckBootFile(const cdi::Image& image, const Volume& volume, const std::string& name);

}  // namespace cdicheck
