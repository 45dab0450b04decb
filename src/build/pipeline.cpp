#include "build/pipeline.h"

#include <cstdint>

#include "bootfile/convert.h"
#include "bootfile/locate.h"
#include "bootsector/write.h"
#include "build/tool_runner.h"
#include "build/verify.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/command_line.h"
#include "run/run_state.h"

namespace mMain {
namespace {

Text ChooseVolumeName(const Text& selfbootDir) {
  const Text option = GetOption(L"--cdvol");
  return option.empty() ? GetFileName(selfbootDir) : option;
}

}  // namespace

void BuildImage(const Text& selfbootDir) {
  const std::int32_t startTicks = platform::TickCount();
  const Text app = AddBackslash(platform::AppDir());
  const Text bootSectorPath = AddBackslash(selfbootDir) + L"IP.BIN";
  const Text parkedBootSectorPath = app + L"IP.BIN";
  const Text isoPath = AddBackslash(*RunState.TempDir) + L"data.iso";
  const Text& cdiFile = *RunState.CdiFile;

  LocateBootFile();
  PrepareBootFile();
  WriteBootSector(bootSectorPath);
  const Text volumeName = ChooseVolumeName(selfbootDir);

  ForceDelete(isoPath);
  platform::HoldInterruptsDuring([&] {
    // IP.BIN is the image's boot area and must not be one of its files as well.
    platform::Move(bootSectorPath, parkedBootSectorPath);
    mShell::RunAndWait(Quote(app + L"mkisofs.exe") + L" -G " + Quote(parkedBootSectorPath) +
                           L" -C 0,11702 -J -l -r -V " + Quote(volumeName) + L" -o " + Quote(isoPath) + L" " +
                           Quote(selfbootDir),
                       mShell::ShowNormal);
    platform::Move(parkedBootSectorPath, bootSectorPath);
  });
  VerifyStageOutput(isoPath, startTicks, L"Unknown error: mkisofs failed!",
                    L"Unknown error: mkisofs ISO time mismatch!");

  ForceDelete(cdiFile);
  mShell::RunAndWait(Quote(app + L"cdi4dc.exe") + L" " + Quote(isoPath) + L" " + Quote(cdiFile),
                     mShell::ShowNormal);
  VerifyStageOutput(cdiFile, startTicks, L"Unknown error: cdi4dc failed!",
                    L"Unknown error: cdi4dc CDI time mismatch!");

  ForceDelete(isoPath);
}

}  // namespace mMain
