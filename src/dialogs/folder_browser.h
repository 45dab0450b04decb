#pragma once

#include "files/optional_path.h"

namespace mComDlg {

/// Asks the user for a folder under the caption `title`. `target` receives its path, possibly the empty text
/// if the host could not tell it; a cancel leaves `target` unset.
void BrowseForFolder(mMain::OptionalPath& target, const Text& title);

}  // namespace mComDlg
