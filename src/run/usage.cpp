#include "run/usage.h"

#include "platform/platform.h"
#include "run/command_line.h"
#include "run/product.h"

namespace mMain {

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

}  // namespace mMain
