#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cdicheck/check.h"

/// The steps of a check. What cannot be read is a problem: only a failure of `cdi::Source::read` is thrown.
namespace cdicheck {

/// Compares the tracks with the size of the file, with their own lengths, and with the capacity of a disc.
std::vector<Problem> CheckLayout(const cdi::Image& image);

/// Verifies every sector of every data track.
std::vector<Problem> CheckSectors(const cdi::Image& image);

struct BootSector {
  std::vector<HeaderField> header;  ///< empty if there is no boot header
  std::string bootFile;             ///< the name in the header
  std::vector<Problem> problems;
};

/// Reads the boot sector that begins at LBA `start`, and checks its header and its code.
BootSector CheckBootSector(const cdi::Image& image, std::int64_t start);

/// Checks the file `name` in the root of the volume: that it exists, and that it is a scrambled program.
std::vector<Problem> CheckBootFile(const cdi::Image& image, const Volume& volume, const std::string& name);

}  // namespace cdicheck
