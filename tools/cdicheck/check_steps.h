#pragma once

#include <cstdint>

#include "cdicheck/check.h"

/// The steps of a check. Each adds to the report what it reads and what is wrong with it.
namespace cdicheck {

/// The tracks of `report.image` beside the file.
void CheckLayout(Report& report);

/// Every sector of every data track.
void CheckSectors(Report& report);

/// The boot sector, which begins at LBA `start`. Reads `report.bootHeader`, which stays empty if there is
/// none.
void CheckBootSector(std::int64_t start, Report& report);

/// The file that the boot header names, in `report.volume`.
void CheckBootFile(Report& report);

}  // namespace cdicheck
