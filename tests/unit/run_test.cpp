#include <limits>
#include <stdexcept>
#include <tuple>

#include "build/verify.h"
#include "dialogs/save_dialog.h"
#include "errors/report.h"
#include "fake_platform.h"
#include "files/paths.h"
#include "platform/file_errors.h"
#include "run/command_line.h"
#include "run/main.h"

using namespace mMain;
using namespace std::chrono_literals;
using fake::host;
using fake::ProcessEnd;
using fake::StatusOf;

/// Returns the options with a value: "--dir=a;--cdi=x;".
static Text Options(const Text& raw) {
  fake::Reset(raw);
  RunState.CommandLine = ReadCommandLine();
  Text all;
  for (const wchar_t* name : {L"--help", L"--dir", L"--cdi", L"--cdvol"}) {
    if (const Text value = GetOption(name); !value.empty()) all += Text(name) + L"=" + value + L";";
  }
  return all;
}

TEST(GetOption, ValueEndsAtTheNextDoubleDash) {
  const std::map<Text, Text> optionsOf = {
      {L"--helpme", L"--help=me;"},
      {L"  --dir  \"C:\\My  Games\" \t--cdi x y  ", L"--dir=C:\\My  Games \t;--cdi=x y;"},
      {L"--cdi C:\\a--b\\x.cdi --dir", L"--dir=--dir;--cdi=C:\\a;"},
      {L"--cdi --cdvol X", L"--cdi=--cdi;--cdvol=X;"},
      {L"--cdvol my--dir --dir C:\\x", L"--dir=--dir;--cdvol=my;"},
      {L"--dir \"\"", L""},
      {L"--DIR C:\\a\r\n--cdi -\nx", L"--cdi=-x;"},
  };
  for (const auto& [raw, options] : optionsOf) EXPECT_EQ(Options(raw), options);
}

TEST(GetOption, PositionsAreSigned16BitNumbers) {
  // The first position after the name is 32767, then 32768.
  EXPECT_EQ(Options(Text(32761, L'x') + L"--dir y"), L"--dir=y;");
  EXPECT_EQ(ErrorOf([] { Options(Text(32762, L'x') + L"--dir y"); }), 6);
  // The two dashes that end the value are at 32767, then at 32768.
  EXPECT_EQ(Options(L"--dir " + Text(32759, L'x') + L" --x"), L"--dir=" + Text(32759, L'x') + L";");
  EXPECT_EQ(ErrorOf([] { Options(L"--dir " + Text(32760, L'x') + L" --x"); }), 6);
}

TEST(Paths, NameExtensionAndBaseName) {
  using Row = std::tuple<Text, Text, Text, Text>;
  for (const auto& [path, name, extension, base] : {
           Row{L"C:\\dc.old\\game.tar.gz", L"game.tar.gz", L"gz", L"C:\\dc.old\\game.tar"},
           Row{L" C:\\dc.old\\game ", L"game", L"old\\game", L" C:\\dc.old\\game "},
           Row{L"C:\\dc\\", L"", L"C:\\dc\\", L"C:\\dc\\"},
           Row{L"C:/dc/.game", L"C:/dc/.game", L"game", L"C:/dc/"},
           Row{L"  C:\\dc\r\n\\ga\nme.elf\t ", L"game.elf\t", L"elf\t", L"C:\\dc\\game"},
       }) {
    EXPECT_EQ(GetFileName(path), name);
    EXPECT_EQ(GetFileExtension(path), extension);
    EXPECT_EQ(GetBaseName(path), base);
  }
}

TEST(FillSaveDialog, TakesNamesOfUpTo254Characters) {
  const auto fill = [](const Text& name) { return mComDlg::FillSaveDialog(L"", name, L"", 0).fileBuffer; };
  EXPECT_EQ(fill(L"C:\\" + Text(254, L'n')), Text(254, L'n'));
  EXPECT_EQ(ErrorOf([&] { fill(Text(255, L'n')); }), 5);
}

TEST(VerifyStageOutput, AllowsASecondOfAgeForEach60Milliseconds) {
  constexpr int overflow = 6, lowest = std::numeric_limits<std::int32_t>::min();
  const auto verify = [](std::chrono::milliseconds age, std::int32_t startTicks, std::int32_t ticks) {
    fake::Reset();
    host.now += 500ms;
    host.ticks = ticks;
    host.files[L"C:\\out"] = {"", host.now - age};
    VerifyStageOutput(L"C:\\out", startTicks, L"missing", L"too old");
  };
  EXPECT_NO_THROW(verify(999ms, 0, 59));
  EXPECT_THROW(verify(1s, 100, 159), ProcessEnd);
  EXPECT_NO_THROW(verify(1s, 100, 160));
  EXPECT_THROW(verify(-999ms, 0, -1), ProcessEnd);
  EXPECT_NO_THROW(verify(-1s, 0, -60));
  EXPECT_NO_THROW(verify(0s, lowest, -1));
  EXPECT_EQ(ErrorOf([&] { verify(0s, lowest, 0); }), overflow);
  EXPECT_EQ(ErrorOf([&] { verify(25'000 * 24h, 0, 0); }), overflow);
}

static Text Report(const auto& failure) {
  fake::Reset();
  try {
    throw failure;
  } catch (const std::exception&) {
    StatusOf(mErrHndl::ReportRuntimeError);
  }
  return host.messages;
}

TEST(ReportRuntimeError, KnownErrorsNeedTheirExactDescription) {
  EXPECT_EQ(Report(RuntimeError(6, L"Overflow")), L"0 Integer overflow.");
  EXPECT_EQ(Report(RuntimeError(6, L"overflow")), L"");
  EXPECT_EQ(Report(platform::PermissionDenied), L"0 File locked by another application");
  EXPECT_EQ(Report(RuntimeError(53, L"File not found: zlib.dll")), L"0 Please install zlib and try again.");
  EXPECT_EQ(Report(std::bad_alloc()), L"0 Run-time error: '7'\r\n\r\nOut of memory");
  EXPECT_EQ(Report(std::length_error("")), L"0 Run-time error: '7'\r\n\r\nOut of memory");
  EXPECT_EQ(Report(std::exception()), L"0 Run-time error: '57'\r\n\r\nDevice I/O error");
}

TEST(Main, EndsWith1WithoutMemoryForAMessage) {
  fake::Reset();
  host.hasMemory = false;
  EXPECT_EQ(Main(), 1);
}

TEST(BuildImage, AllowsAnAgeForTheTimeSinceTheStartOfTheBuild) {
  for (const auto& [age, status] : {std::pair(3s, 0), {4s, 1}}) {
    fake::Reset(L"--dir C:\\dc --cdi C:\\x.cdi");
    host.files[L"C:\\dc\\demo.elf"] = {"\177ELF"};
    host.ticksPerTool = 60;  // an allowance of 3 seconds after the third tool, mkisofs
    host.ageOfOutput = age;
    EXPECT_EQ(StatusOf([] { platform::EndProcess(Main()); }), status);
  }
}

/// An ELF file with options, then a plain program with the user's IP.BIN and dialogs.
TEST(BuildImage, NoFailedOperationLosesTheProgram) {
  for (const bool isElf : {true, false}) {
    // The last run has no failure.
    for (int failAt = 1; failAt == 1 || host.operations >= host.failAt; ++failAt) {
      SCOPED_TRACE(failAt);
      fake::Reset(isElf ? L"--dir C:\\dc --cdi C:\\x.cdi" : L"");
      host.files[L"C:\\x.cdi"] = host.files[L"C:\\Temp\\data.iso"] = {"older"};
      if (isElf) host.files[L"C:\\dc\\demo.elf"] = {"\177ELF"};
      if (!isElf) host.files[L"C:\\dc\\1ST_READ.BIN"] = {"PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"};
      if (!isElf) host.files[L"C:\\dc\\IP.BIN"] = {std::string(96, 'u')};
      host.failAt = failAt;
      const int status = StatusOf([] { platform::EndProcess(Main()); });

      EXPECT_TRUE(host.files.contains(L"C:\\dc\\demo.elf") || host.files.contains(L"C:\\dc\\1ST_READ.BIN") ||
                  host.files.contains(L"C:\\dc\\1ST_READ_scrambled.bin"));
      const fake::File& bootSector =
          host.files[host.files.contains(L"C:\\tools\\IP.BIN") ? L"C:\\tools\\IP.BIN" : L"C:\\dc\\IP.BIN"];
      EXPECT_TRUE(isElf || bootSector.bytes.starts_with(std::string(96, 'u')));
      EXPECT_EQ(host.messages.empty(), status == 0);
      EXPECT_TRUE(status == 1 || host.operations < failAt || host.deletionFailed)
          << "only deletions may fail";
    }
  }
}
