#pragma once

namespace mMain {

/// Brings the file at `BootFile` into scrambled form with the outside tools and leaves in `BootFile` the path
/// of the scrambled file. Ends the process if a tool left no output. Raises 9 for a file of zero bytes.
void PrepareBootFile();

}  // namespace mMain
