#pragma once

#include <cstdint>

#include "files/text.h"
#include "platform/platform.h"

namespace mMain {

/// The age of a file in whole seconds; negative for one dated ahead. Raises 6 if 32 bits do not hold it.
std::int32_t GetAgeSeconds(platform::LocalTime file, platform::LocalTime present);

/// The milliseconds from `startTicks` to `presentTicks`. Raises 6 if the signed difference overflows.
std::int32_t GetElapsedTicks(std::int32_t startTicks, std::int32_t presentTicks);

/// How old, in seconds, the output of a build may be that has run for `elapsedTicks`: one second for each 60
/// milliseconds, rounded down.
double GetAgeAllowance(std::int32_t elapsedTicks);

/// Returns only if a tool's output stands at `outputPath` and is no older than the build allows. Otherwise
/// ends the process with `missingMessage` or `mismatchMessage`. `startTicks` is the tick count at the build's
/// start. Raises 6, and what `platform::FileTime` raises.
void VerifyStageOutput(const Text& outputPath, std::int32_t startTicks, const Text& missingMessage,
                       const Text& mismatchMessage);

}  // namespace mMain
