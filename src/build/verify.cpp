#include "build/verify.h"

#include <cmath>

#include "errors/runtime_error.h"
#include "files/paths.h"
#include "run/main.h"

namespace mMain {

std::int32_t AgeSeconds(platform::LocalTime file, platform::LocalTime present) {
  // Cut after the subtraction: two times first cut to seconds could lie one second apart for an age of
  // milliseconds, and a quick build would fail now and then.
  return Checked<std::int32_t>(std::chrono::duration_cast<std::chrono::seconds>(present - file).count());
}

std::int32_t ElapsedTicks(std::int32_t startTicks, std::int32_t presentTicks) {
  return Checked<std::int32_t>(static_cast<std::int64_t>(presentTicks) - startTicks);
}

double AgeAllowance(std::int32_t elapsedTicks) {
  return std::floor(static_cast<double>(elapsedTicks) / 60.0);
}

void VerifyStageOutput(const Text& outputPath, std::int32_t startTicks, const Text& missingMessage,
                       const Text& mismatchMessage) {
  if (!FileExists(outputPath)) FailAndEnd(missingMessage);

  const platform::LocalTime fileTime = platform::FileTime(outputPath);
  const std::int32_t age = AgeSeconds(fileTime, platform::PresentTime());
  const std::int32_t elapsed = ElapsedTicks(startTicks, platform::TickCount());
  if (age > AgeAllowance(elapsed)) FailAndEnd(mismatchMessage);
}

}  // namespace mMain
