#pragma once

namespace mMain {

/// Sets `BootFile` to the boot file of the selfboot folder: "1ST_READ.BIN", else the file that "IP.BIN"
/// names, and before both of them the first file that matches "*.elf". Ends the process if there is none.
void LocateBootFile();

}  // namespace mMain
