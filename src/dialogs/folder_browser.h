#pragma once

#include "files/optional_path.h"

namespace mComDlg {

/// Asks the user for a folder under the caption `title`. Sets `target` to its path, or to the empty text if
/// the host does not know the path. A cancel leaves `target` unset.
void BrowseForFolder(mMain::OptionalPath& target, const Text& title);

}  // namespace mComDlg
