#pragma once

#include "files/text.h"

namespace mMain {

/// Makes sure that the boot sector at `path` names the file at `BootFile`. One that stands there keeps
/// everything but that name; otherwise a whole new one is made from the options, the date and `IP.TMPL`.
/// Raises 5 if the name has more than 16 characters, before anything is written, and what the file
/// operations raise.
void WriteBootSector(const Text& path);

}  // namespace mMain
