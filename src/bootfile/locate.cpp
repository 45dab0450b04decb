#include "bootfile/locate.h"

#include "bootsector/format.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/run_state.h"
#include "run/usage.h"

namespace mMain {

void LocateBootFile() {
  const Text folder = AddBackslash(*RunState.SelfbootDir);

  if (FileExists(folder + L"1ST_READ.BIN")) {
    RunState.BootFile = folder + L"1ST_READ.BIN";
  } else if (FileExists(folder + L"IP.BIN")) {
    const Text named = folder + ReadBootFileName(folder + L"IP.BIN");
    if (FileExists(named)) RunState.BootFile = named;
  }

  if (const auto elf = platform::FirstMatch(folder + L"*.elf")) RunState.BootFile = folder + *elf;

  if (!IsPathSet(RunState.BootFile)) FailAndEnd(L"The DC bootfile could not be located!");
}

}  // namespace mMain
