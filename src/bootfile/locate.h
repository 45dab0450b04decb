#pragma once

namespace mMain {

/// Sets `BootFile` to the boot file of the selfboot folder: the first file that matches "*.elf", or else
/// "1ST_READ.BIN", or else the file that "IP.BIN" names. Ends the process if there is none. Raises what
/// `ReadBootFileName` raises.
void LocateBootFile();

}  // namespace mMain
