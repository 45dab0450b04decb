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
    EXPECT_EQ(GetAgeSeconds(noon + milliseconds(row.fileMs), noon + milliseconds(row.presentMs)), row.age);
  }
  EXPECT_THROW(GetAgeSeconds(noon, noon + std::chrono::years(70)), RuntimeError);
}

TEST(VerifyStageOutput, AllowanceIsASecondForEach60Milliseconds) {
  struct Row {
    std::int32_t start, present, elapsed;
    double allowance;
  };
  for (const Row& row :
       {Row{0, 59, 59, 0}, Row{0, 60, 60, 1}, Row{100, 6099, 5999, 99}, Row{0, 36000, 36000, 600},
        Row{-1, 0, 1, 0}, Row{Lowest, -1, Highest, 35791394}, Row{50, 0, -50, -1}}) {
    EXPECT_EQ(GetElapsedTicks(row.start, row.present), row.elapsed);
    EXPECT_EQ(GetAgeAllowance(row.elapsed), row.allowance);
  }
  EXPECT_THROW(GetElapsedTicks(Highest, Lowest), RuntimeError);
  EXPECT_THROW(GetElapsedTicks(Lowest, 0), RuntimeError);
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
  EXPECT_EQ(fake::Trace(),
            LR"(command line
ticks
match C:\games\demo\*.elf
open C:\games\demo\demo.elf
read
close
run 1 "C:\tools\sh-elf-objcopy.exe" -O binary -R .stack "C:\games\demo\demo.elf" "C:\Temp\1ST_READ_UNSCRAMBLED.BIN"
reset C:\games\demo\demo.elf
delete C:\games\demo\demo.elf
run 1 "C:\tools\scramble.exe" "C:\Temp\1ST_READ_UNSCRAMBLED.BIN" "C:\games\demo\1ST_READ.BIN"
reset C:\Temp\1ST_READ_UNSCRAMBLED.BIN
delete C:\Temp\1ST_READ_UNSCRAMBLED.BIN
now
open C:\tools\IP.TMPL
read
close
open C:\games\demo\IP.BIN
write x 12
close
reset C:\Temp\data.iso
delete C:\Temp\data.iso
move C:\games\demo\IP.BIN > C:\tools\IP.BIN
run 1 "C:\tools\mkisofs.exe" -G "C:\tools\IP.BIN" -C 0,11702 -J -l -r -V "demo" -o "C:\Temp\data.iso" "C:\games\demo"
move C:\tools\IP.BIN > C:\games\demo\IP.BIN
time of C:\Temp\data.iso
now
ticks
reset C:\out\demo.cdi
delete C:\out\demo.cdi
run 1 "C:\tools\cdi4dc.exe" "C:\Temp\data.iso" "C:\out\demo.cdi"
time of C:\out\demo.cdi
now
ticks
reset C:\Temp\data.iso
delete C:\Temp\data.iso
)");
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(*RunState.BootFile, L"C:\\games\\demo\\1ST_READ.BIN");
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
