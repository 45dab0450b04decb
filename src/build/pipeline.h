#pragma once

#include "files/text.h"

namespace mMain {

/// The build itself, from the boot file to the finished image at `CdiFile`. A stage that fails ends the
/// process or raises; nothing is undone.
void BuildImage(const Text& selfbootDir);

}  // namespace mMain
