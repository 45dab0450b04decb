#include "build/verify.h"

#include <cmath>

#include "errors/runtime_error.h"
#include "files/paths.h"
#include "run/usage.h"

namespace mMain {

std::int32_t GetAgeSeconds(platform::LocalTime file, platform::LocalTime present) {
  // Cut after the subtraction. Two times that are cut first can differ by one second at an age of
  // milliseconds, and a quick build would sometimes fail.
  return FitInto<std::int32_t>(std::chrono::duration_cast<std::chrono::seconds>(present - file).count());
}

std::int32_t GetElapsedTicks(std::int32_t startTicks, std::int32_t presentTicks) {
  return FitInto<std::int32_t>(static_cast<std::int64_t>(presentTicks) - startTicks);
}

double GetAgeAllowance(std::int32_t elapsedTicks) {
  return std::floor(static_cast<double>(elapsedTicks) / 60.0);
}

void VerifyStageOutput(const Text& outputPath, std::int32_t startTicks, const Text& missingMessage,
                       const Text& mismatchMessage) {
  if (!FileExists(outputPath)) FailAndEnd(missingMessage);

  const platform::LocalTime fileTime = platform::FileTime(outputPath);
  const std::int32_t age = GetAgeSeconds(fileTime, platform::PresentTime());
  const std::int32_t elapsed = GetElapsedTicks(startTicks, platform::TickCount());
  if (age > GetAgeAllowance(elapsed)) FailAndEnd(mismatchMessage);
}

}  // namespace mMain
