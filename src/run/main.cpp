#include "run/main.h"

#include <exception>

#include "build/pipeline.h"
#include "errors/report.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/command_line.h"
#include "run/ends.h"
#include "run/run_state.h"
#include "run/targets.h"

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
    mErrHndl::ReportRuntimeError();
    return platform::ExitFailure;
  }
}

void RequireSelfbootDir() {
  if (!FileExists(*RunState.SelfbootDir)) ShowUsageAndEnd();
}

}  // namespace mMain
