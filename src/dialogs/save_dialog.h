#pragma once

#include <cstdint>

#include "files/optional_path.h"
#include "platform/platform.h"

namespace mComDlg {

/// The Windows flag `OFN_FILEMUSTEXIST`.
inline constexpr std::uint32_t FileMustExist = 0x1000;

/// `filter`, pairs of description and pattern separated by "|", with the pair for all files behind it, as the
/// list of NUL-ended entries that the dialog takes. Raises 9 for a description without a pattern.
Text BuildFilterList(const Text& filter);

/// The values of a save dialog. Raises 5 if the file-name part of `initialName` has more than 254 characters,
/// and what `BuildFilterList` raises.
platform::SaveDialog FillSaveDialog(const Text& filter, const Text& initialName, const Text& title,
                                    std::uint32_t flags);

/// Asks the user for the file to save. `target` receives its full path; a cancel leaves it unset, even if it
/// was set before. Raises what `FillSaveDialog` raises, before the dialog shows.
void ShowSaveDialog(mMain::OptionalPath& target, const Text& filter, const Text& initialName,
                    const Text& title, std::uint32_t flags);

}  // namespace mComDlg
