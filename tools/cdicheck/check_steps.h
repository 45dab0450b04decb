#pragma once

#include "cdi/parse.h"
#include "cdicheck/check.h"
#include "cdicheck/volume.h"

/// The steps of a check. Each adds to the report what it reads and what is wrong with it.
namespace cdicheck {

/// The tracks of `report.image` beside the file.
void CheckLayout(Report& report);

/// EDC and ECC of every Mode 2 Form 1 sector.
void CheckSectors(const cdi::Source& source, const DataTrack& data, Report& report);

/// Reads `report.bootHeader`, which stays empty if there is none.
void CheckBootSector(const DataTrack& data, Report& report);

/// The file that the boot header names, in `report.volume`.
void CheckBootFile(const DataTrack& data, Report& report);

}  // namespace cdicheck
