#include "build/tool_runner.h"

#include "platform/platform.h"

namespace mShell {

void RunAndWait(const Text& toolCommandLine, int showStyle) {
  platform::StartAndWait(toolCommandLine, showStyle);
}

}  // namespace mShell
