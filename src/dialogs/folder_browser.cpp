#include "dialogs/folder_browser.h"

#include "platform/platform.h"

namespace mComDlg {

void BrowseForFolder(mMain::OptionalPath& target, const Text& title) {
  target = platform::AskForFolder(title);
  if (target) std::erase(*target, L'\0');
}

}  // namespace mComDlg
