#pragma once

#include "files/text.h"

namespace mMain {

/// Makes the boot sector at `path` name the file at `BootFile`. In an existing boot sector only that name
/// changes. Otherwise creates one from the options, the date and `IP.TMPL`. Raises 5 if the name has more
/// than 16 characters, before it writes anything, and what `platform::Open`, `Read`, `Write` and `AppDir`
/// raise.
void WriteBootSector(const Text& path);

}  // namespace mMain
