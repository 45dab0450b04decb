#include <gtest/gtest.h>

#include "build/verify.h"
#include "fake_platform.h"

namespace mMain {
namespace {

using fake::host;
using std::chrono::milliseconds;

constexpr std::int32_t Lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Highest = std::numeric_limits<std::int32_t>::max();
const std::string Elf =
    "\x7F"
    "ELF";

TEST(VerifyStageOutput, AgeIsCutToWholeSecondsAfterTheSubtraction) {
  const platform::LocalTime noon(std::chrono::hours(12));
  struct Row {
    std::int64_t fileMs, presentMs;
    std::int32_t age;
  };
  for (const Row& row : {Row{999, 1000, 0}, Row{999, 1998, 0}, Row{999, 1999, 1}, Row{0, 600'000, 600},
                         Row{1000, 999, 0}, Row{5000, 1000, -4}}) {
    EXPECT_EQ(AgeSeconds(noon + milliseconds(row.fileMs), noon + milliseconds(row.presentMs)), row.age);
  }
  EXPECT_THROW(AgeSeconds(noon, noon + std::chrono::years(70)), RuntimeError);
}

TEST(VerifyStageOutput, AllowanceIsASecondForEach60Milliseconds) {
  struct Row {
    std::int32_t start, present, elapsed;
    double allowance;
  };
  for (const Row& row :
       {Row{0, 59, 59, 0}, Row{0, 60, 60, 1}, Row{100, 6099, 5999, 99}, Row{0, 36000, 36000, 600},
        Row{-1, 0, 1, 0}, Row{Lowest, -1, Highest, 35791394}, Row{50, 0, -50, -1}}) {
    EXPECT_EQ(ElapsedTicks(row.start, row.present), row.elapsed);
    EXPECT_EQ(AgeAllowance(row.elapsed), row.allowance);
  }
  EXPECT_THROW(ElapsedTicks(Highest, Lowest), RuntimeError);
  EXPECT_THROW(ElapsedTicks(Lowest, 0), RuntimeError);
}

void Prepare(const Text& options = L"") {
  fake::Reset(L"--dir C:\\games\\demo --cdi C:\\out\\demo.cdi " + options);
  host.folders = {L"C:\\games\\demo"};
  host.files[L"C:\\games\\demo\\demo.elf"] = {Elf};
  host.files[L"C:\\out\\demo.cdi"] = {"older"};
  host.files[L"C:\\Temp\\data.iso"] = {"older"};
}

TEST(BuildImage, TakesEveryStepInItsOrder) {
  Prepare();
  EXPECT_EQ(fake::Run(), 0);
  const std::vector<Text> expected{
      L"command line",
      L"ticks",
      L"match C:\\games\\demo\\*.elf",
      L"open C:\\games\\demo\\demo.elf",
      L"read",
      L"close",
      L"run 1 \"C:\\tools\\sh-elf-objcopy.exe\" -O binary -R .stack \"C:\\games\\demo\\demo.elf\" "
      L"\"C:\\Temp\\1ST_READ_UNSCRAMBLED.BIN\"",
      L"reset C:\\games\\demo\\demo.elf",
      L"delete C:\\games\\demo\\demo.elf",
      L"run 1 \"C:\\tools\\scramble.exe\" \"C:\\Temp\\1ST_READ_UNSCRAMBLED.BIN\" "
      L"\"C:\\games\\demo\\1ST_READ.BIN\"",
      L"reset C:\\Temp\\1ST_READ_UNSCRAMBLED.BIN",
      L"delete C:\\Temp\\1ST_READ_UNSCRAMBLED.BIN",
      L"now",
      L"open C:\\tools\\IP.TMPL",
      L"read",
      L"close",
      L"open C:\\games\\demo\\IP.BIN",
      L"write",
      L"write",
      L"write",
      L"write",
      L"write",
      L"write",
      L"write",  // the constants
      L"write",
      L"write",
      L"write",
      L"write",
      L"write",  // date, name, maker, title, body
      L"close",
      L"reset C:\\Temp\\data.iso",
      L"delete C:\\Temp\\data.iso",
      L"move C:\\games\\demo\\IP.BIN > C:\\tools\\IP.BIN",
      L"run 1 \"C:\\tools\\mkisofs.exe\" -G \"C:\\tools\\IP.BIN\" -C 0,11702 -J -l -r -V \"demo\" -o "
      L"\"C:\\Temp\\data.iso\" \"C:\\games\\demo\"",
      L"move C:\\tools\\IP.BIN > C:\\games\\demo\\IP.BIN",
      L"time of C:\\Temp\\data.iso",
      L"now",
      L"ticks",
      L"reset C:\\out\\demo.cdi",
      L"delete C:\\out\\demo.cdi",
      L"run 1 \"C:\\tools\\cdi4dc.exe\" \"C:\\Temp\\data.iso\" \"C:\\out\\demo.cdi\"",
      L"time of C:\\out\\demo.cdi",
      L"now",
      L"ticks",
      L"reset C:\\Temp\\data.iso",
      L"delete C:\\Temp\\data.iso",
  };
  EXPECT_EQ(host.trace, expected);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(*RunState.BootFile, L"C:\\games\\demo\\1ST_READ.BIN");
}

TEST(BuildImage, VolumeNameIsTheOptionOrTheFoldersName) {
  struct Row {
    Text line, folder, volume;
  };
  for (const Row& row :
       {Row{L"--dir C:\\dc --cdvol My Game", L"C:\\dc", L"\"My Game\""},
        Row{L"--dir C:\\dc --cdvol", L"C:\\dc", L"\"--cdvol\""}, Row{L"--dir C:\\dc", L"C:\\dc", L"\"dc\""},
        Row{L"--dir C:\\dc\\", L"C:\\dc\\", L"\"\""}, Row{L"--dir dc", L"dc", L"\"dc\""}}) {
    fake::Reset(row.line + L" --cdi x.cdi");
    host.folders = {row.folder};
    const Text separator = row.folder.ends_with(L'\\') ? L"" : L"\\";
    host.files[row.folder + separator + L"1ST_READ.BIN"] = {"scrambled"};
    EXPECT_EQ(fake::Run(), 0);
    const Text expected = L" -r -V " + row.volume + L" -o \"C:\\Temp\\data.iso\" \"" + row.folder + L"\"";
    EXPECT_TRUE(std::any_of(host.trace.begin(), host.trace.end(),
                            [&](const Text& line) { return line.ends_with(expected); }));
  }
}

TEST(BuildImage, TickOverflowIsReported) {
  Prepare();
  host.ticks = {Highest, Lowest};
  EXPECT_EQ(fake::Run(), 1);
  EXPECT_EQ(host.messages, std::vector<Text>{L"[0] Integer overflow."});
}

TEST(BuildImage, WhicheverOperationFailsTheProgramIsNeverLost) {
  int failures = 0;
  for (int raiseAt = 1;; ++raiseAt) {
    SCOPED_TRACE(raiseAt);
    Prepare();
    host.raiseAt = raiseAt;
    const int status = fake::Run();
    if (host.operations < raiseAt) break;

    const bool dropped = host.messages.empty();  // ForceDelete's own two operations
    EXPECT_EQ(status, dropped ? 0 : 1);
    if (!dropped) {
      ++failures;
      EXPECT_EQ(host.messages, std::vector<Text>{L"[0] Run-time error: '57'\r\n\r\nDevice I/O error"});
    }
    const auto there = [](const Text& path) { return host.files.contains(path); };
    EXPECT_TRUE(there(L"C:\\games\\demo\\demo.elf") || there(L"C:\\games\\demo\\1ST_READ.BIN"));
    EXPECT_FALSE(there(L"C:\\tools\\IP.BIN") && there(L"C:\\games\\demo\\IP.BIN"));
  }
  EXPECT_EQ(failures, 21) << "2 for the boot file, 15 for the boot sector, 2 moves, 2 dates";
}

}  // namespace
}  // namespace mMain
