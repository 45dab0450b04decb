#pragma once

#include "files/text.h"

namespace mMain {

/// Builds the image at `CdiFile` from the folder `selfbootDir`. A stage that fails ends the process or
/// raises, and nothing is undone. Raises what the stages and `platform::Move` raise.
void BuildImage(const Text& selfbootDir);

}  // namespace mMain
