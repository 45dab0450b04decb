#pragma once

#include <cstdint>

#include "files/text.h"
#include "platform/platform.h"

namespace mMain {

/// Returns the age of a file in whole seconds, negative if its date is in the future. Raises 6 if the age
/// does not fit into 32 bits.
std::int32_t GetAgeSeconds(platform::LocalTime file, platform::LocalTime present);

/// Returns the milliseconds from `startTicks` to `presentTicks`. Raises 6 if the signed difference overflows.
std::int32_t GetElapsedTicks(std::int32_t startTicks, std::int32_t presentTicks);

/// Returns how old the output may be, in seconds, when a build has run for `elapsedTicks` milliseconds: one
/// second for each 60 milliseconds, rounded down.
double GetAgeAllowance(std::int32_t elapsedTicks);

/// Returns only if the file `outputPath` exists and is not older than the build allows. Otherwise ends the
/// process with `missingMessage` or `mismatchMessage`. `startTicks` is the tick count at the start of the
/// build. Raises 6, and what `platform::FileTime` raises.
void VerifyStageOutput(const Text& outputPath, std::int32_t startTicks, const Text& missingMessage,
                       const Text& mismatchMessage);

}  // namespace mMain
