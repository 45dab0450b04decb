#include "run/main.h"

#include <exception>
#include <new>

#include "build/pipeline.h"
#include "errors/report.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/command_line.h"
#include "run/run_state.h"
#include "run/targets.h"
#include "run/usage.h"

namespace mMain {

int Main() {
  try {
    RunState.CommandLine = ReadCommandLine();
    if (!GetOption(L"--help").empty()) ShowUsageAndEnd();
    ResolveTargets();
    RequireSelfbootDir();
    ResolveTempDir();
    BuildImage(*RunState.SelfbootDir);
    return platform::ExitSuccess;
  } catch (const std::exception&) {
    try {
      mErrHndl::ReportRuntimeError();
    } catch (const std::bad_alloc&) {
      // There is no memory for a message, so only the exit status remains.
    }
    return platform::ExitFailure;
  }
}

void RequireSelfbootDir() {
  if (!FileExists(*RunState.SelfbootDir)) ShowUsageAndEnd();
}

}  // namespace mMain
