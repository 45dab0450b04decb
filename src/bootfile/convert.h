#pragma once

namespace mMain {

/// Brings the file at `BootFile` into scrambled form with the outside tools, and sets `BootFile` to the path
/// of the scrambled file. Ends the process if a tool has no output. Raises 9 for a file of zero bytes, 7 for
/// one that does not fit into memory, and what `platform::Open`, `Read`, `Move` and `AppDir` raise.
void PrepareBootFile();

}  // namespace mMain
