#pragma once

#include <optional>

#include "files/text.h"

namespace mMain {

inline constexpr const wchar_t* AppTitle = L"Marrowvane";
inline constexpr const wchar_t* AppVersion = L"0.1";

/// A path that is unset, or set and then possibly the empty text.
using OptionalPath = std::optional<Text>;

struct RunStateRecord {
  Text CommandLine;          ///< the cleaned command line
  OptionalPath BootFile;     ///< the boot file in the selfboot folder
  OptionalPath CdiFile;      ///< the `.cdi` file to produce
  OptionalPath SelfbootDir;  ///< the folder to selfboot
  OptionalPath TempDir;      ///< the folder for temporary files
};

/// The one record of a run. It lives as long as the process, and the procedures reach it directly.
inline RunStateRecord RunState;

}  // namespace mMain
