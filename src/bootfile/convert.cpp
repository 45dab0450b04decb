#include "bootfile/convert.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>

#include "bootfile/classify.h"
#include "build/tool_runner.h"
#include "errors/runtime_error.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/run_state.h"
#include "run/usage.h"

namespace mMain {
namespace {

/// The bytes of the file are released before a tool runs.
BootFileKind ClassifyFile(const Text& bootFile) {
  platform::Open(bootFile);
  const std::uint64_t length = platform::Length();
  if (length == 0) throw SubscriptOutOfRange;
  if (length > std::numeric_limits<std::ptrdiff_t>::max()) throw OutOfMemory;
  const auto bytes = std::make_unique<std::byte[]>(static_cast<std::size_t>(length));
  const std::span file(bytes.get(), static_cast<std::size_t>(length));
  platform::Read(file);
  platform::Close();
  return ClassifyBootFile(file);
}

void ConvertElf(const Text& bootFile) {
  const Text app = AddBackslash(platform::AppDir());
  const Text rawBinaryPath = AddBackslash(*RunState.TempDir) + L"1ST_READ_UNSCRAMBLED.BIN";
  const Text finalBootPath = AddBackslash(*RunState.SelfbootDir) + L"1ST_READ.BIN";

  mShell::RunAndWait(Quote(app + L"sh-elf-objcopy.exe") + L" -O binary -R .stack " + Quote(bootFile) + L" " +
                         Quote(rawBinaryPath),
                     mShell::ShowNormal);
  if (!FileExists(rawBinaryPath)) FailAndEnd(L"Unknown error: sh-objcopy failed!");

  // If the ELF file is itself named 1ST_READ.BIN, it must not pass for the output of scramble.
  ForceDelete(bootFile);

  mShell::RunAndWait(Quote(app + L"scramble.exe") + L" " + Quote(rawBinaryPath) + L" " + Quote(finalBootPath),
                     mShell::ShowNormal);
  if (!FileExists(finalBootPath)) FailAndEnd(L"Unknown error: scramble failed!");

  ForceDelete(rawBinaryPath);
  RunState.BootFile = finalBootPath;
}

void ScrambleInPlace(const Text& bootFile) {
  const Text app = AddBackslash(platform::AppDir());
  const Text scrambledCopyPath = GetBaseName(bootFile) + L"_scrambled.bin";

  mShell::RunAndWait(Quote(app + L"scramble.exe") + L" " + Quote(bootFile) + L" " + Quote(scrambledCopyPath),
                     mShell::ShowHidden);
  if (!FileExists(scrambledCopyPath)) FailAndEnd(L"Unknown error: scramble failed!");

  ForceDelete(bootFile);
  platform::Move(scrambledCopyPath, bootFile);
}

}  // namespace

void PrepareBootFile() {
  // A name from an IP.BIN may contain NULs. The host reads a path up to its first NUL, so a suffix after it
  // would be lost, and the name of the scrambled copy would be that of the boot file.
  const Text bootFile = CutAtNul(*RunState.BootFile);
  switch (ClassifyFile(bootFile)) {
    case BootFileKind::ElfFile:
      return ConvertElf(bootFile);
    case BootFileKind::UnscrambledBinary:
      return ScrambleInPlace(bootFile);
    case BootFileKind::ScrambledBinary:
      return;
  }
}

}  // namespace mMain
