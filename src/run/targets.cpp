#include "run/targets.h"

#include "dialogs/folder_browser.h"
#include "dialogs/save_dialog.h"
#include "platform/platform.h"
#include "run/command_line.h"
#include "run/run_state.h"
#include "run/usage.h"

namespace mMain {

void ResolveTargets() {
  if (const Text dir = GetOption(L"--dir"); !dir.empty()) {
    RunState.SelfbootDir = dir;
  } else {
    mComDlg::BrowseForFolder(RunState.SelfbootDir, L"Choose the folder to selfboot...");
    if (!IsPathSet(RunState.SelfbootDir)) ShowUsageAndEnd();
  }

  if (const Text cdi = GetOption(L"--cdi"); !cdi.empty()) {
    RunState.CdiFile = cdi;
  } else {
    mComDlg::ShowSaveDialog(RunState.CdiFile, L"DiscJuggler|*.cdi", L"", L"Save your DiscJuggler file as...",
                            mComDlg::FileMustExist);
    if (!IsPathSet(RunState.CdiFile)) ShowUsageAndEnd();
  }
}

void ResolveTempDir() {
  RunState.TempDir = platform::TempFolder();
}

}  // namespace mMain
