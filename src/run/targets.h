#pragma once

namespace mMain {

/// Sets `SelfbootDir` and then `CdiFile`, each from its option or from a dialog. A cancelled dialog ends the
/// process with the usage message. Neither path is tested.
void ResolveTargets();

/// Sets `TempDir` to the folder for temporary files, or to the empty text if the host has none.
void ResolveTempDir();

}  // namespace mMain
