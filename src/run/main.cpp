#include "run/main.h"

#include <exception>

#include "build/pipeline.h"
#include "errors/report.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/command_line.h"
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

void ShowUsageAndEnd() {
  const Text executable = platform::ExecutableName();
  platform::ShowMessage(
      Text(AppTitle) + L" " + AppVersion + L"\r\nUsage: " + executable.substr(0, executable.rfind(L'.')) +
          L".exe [--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]",
      platform::PlainMessage);
  const bool askedForHelp = !GetOption(L"--help").empty();
  platform::EndProcess(askedForHelp ? platform::ExitSuccess : platform::ExitFailure);
}

void FailAndEnd(const Text& message) {
  platform::ShowMessage(message, platform::StopMessage);
  ShowUsageAndEnd();
}

void RequireSelfbootDir() {
  if (!FileExists(*RunState.SelfbootDir)) ShowUsageAndEnd();
}

}  // namespace mMain
