#pragma once

#include "files/optional_path.h"
#include "files/text.h"

namespace mMain {

struct RunStateRecord {
  Text CommandLine;          ///< the cleaned command line
  OptionalPath BootFile;     ///< the boot file in the selfboot folder
  OptionalPath CdiFile;      ///< the `.cdi` file to produce
  OptionalPath SelfbootDir;  ///< the folder to selfboot
  OptionalPath TempDir;      ///< the folder for temporary files
};

/// The one record of a run. All procedures use it directly.
inline RunStateRecord RunState;

}  // namespace mMain
