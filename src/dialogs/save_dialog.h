#pragma once

#include <cstdint>

#include "files/optional_path.h"
#include "platform/platform.h"

namespace mComDlg {

/// The Windows flag `OFN_FILEMUSTEXIST`.
inline constexpr std::uint32_t FileMustExist = 0x1000;

/// Returns the list of NUL-ended entries that the dialog takes: the pairs of description and pattern in
/// `filter`, separated by "|", and then the pair for all files. Raises 9 for a description without a pattern.
Text BuildFilterList(const Text& filter);

/// Returns the values of a save dialog. Raises 5 if the file-name part of `initialName` has more than 254
/// characters, and what `BuildFilterList` raises.
platform::SaveDialog FillSaveDialog(const Text& filter, const Text& initialName, const Text& title,
                                    std::uint32_t flags);

/// Asks the user for the file to save. Sets `target` to its full path, or unsets it on a cancel. Raises what
/// `FillSaveDialog` raises, before it shows the dialog.
void ShowSaveDialog(mMain::OptionalPath& target, const Text& filter, const Text& initialName,
                    const Text& title, std::uint32_t flags);

}  // namespace mComDlg
