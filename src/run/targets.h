#pragma once

namespace mMain {

/// Fills `SelfbootDir` and then `CdiFile`, each from its option or from its dialog. A cancelled dialog ends
/// the process with the usage message. Neither path is examined.
void ResolveTargets();

/// Fills `TempDir` with the folder for temporary files; the empty text if the host has none.
void ResolveTempDir();

}  // namespace mMain
