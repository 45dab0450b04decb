#include <gtest/gtest.h>

#include "bootfile/locate.h"
#include "bootsector/write.h"
#include "fake_platform.h"
#include "run/run_state.h"

using namespace mMain;
using namespace std::string_literals;
using fake::host;

static const Text IpBin = L"C:\\dc\\IP.BIN";
static const Text Template = L"C:\\tools\\IP.TMPL";

/// The boot file in a folder of these files whose boot sector has this name; empty if the process ends.
static Text Located(const std::vector<Text>& names, const std::string& nameInIpBin = "  GaMe.bin      ") {
  fake::Reset();
  if (!nameInIpBin.empty()) host.files[IpBin] = {std::string(96, 'i') + nameInIpBin + "+"};
  for (const Text& name : names) host.files[L"C:\\dc\\" + name] = {"x"};
  RunState.SelfbootDir = L"C:\\dc";
  const int end = fake::EndOf(LocateBootFile);
  EXPECT_EQ(end, RunState.BootFile ? 0 : 1);
  return RunState.BootFile.value_or(L"");
}

TEST(LocateBootFile, AsksItsThreeSources) {
  EXPECT_EQ(Located({L"1ST_READ.BIN", L"GaMe.bin"}), L"C:\\dc\\1ST_READ.BIN");
  EXPECT_EQ(Located({L"1ST_READ.BIN", L"b.elf", L"a.elf"}), L"C:\\dc\\a.elf");
  EXPECT_EQ(Located({L"GaMe.bin"}), L"C:\\dc\\GaMe.bin");
  EXPECT_EQ(Located({L"GAME.BIN"}, "GAME.BIN\0\0\0\0\0\0\0\0"s), L"C:\\dc\\GAME.BIN\0\0\0\0\0\0\0\0"s);
  EXPECT_EQ(Located({L"other.bin"}), L"");
  EXPECT_EQ(Located({}, ""), L"");
  EXPECT_TRUE(host.files.empty()) << "looking creates nothing";
}

/// The boot sector as a run leaves it that found these files.
static std::string Written(const Text& bootFile, const std::map<Text, fake::File>& files,
                           const Text& options = L"") {
  fake::Reset(options);
  host.files = files;
  RunState.BootFile = L"C:\\dc\\" + bootFile;
  const int end = fake::EndOf([] { WriteBootSector(IpBin); });
  EXPECT_EQ(end, CutAtNul(bootFile).size() > 16 ? 5 : 0);
  return host.files[IpBin].bytes;
}

TEST(WriteBootSector, MakesANewFileFromOptionsAndTemplate) {
  const auto whole = [](std::string fields) {
    fields.resize(160, ' ');
    return "SEGA SEGAKATANA SEGA ENTERPRISESB6D8 CD-ROM1/1  JUE     "
           "E000010 T0000     V1.00020270109        " +
           fields + std::string(32512, 'b');
  };
  const std::map<Text, fake::File> files = {{Template, {std::string(256, 'h') + std::string(32512, 'b')}}};
  EXPECT_EQ(Written(L"1st_read.bin\0\0"s, files), whole("1ST_READ.BIN    Tarnfel         Marrowvane 0.1"));
  EXPECT_EQ(Written(L"sixteen-long.elf", files, L"--coder 1234567890123456 --cdvol A"),
            whole("SIXTEEN-LONG.ELF1234567890123456A"));
  EXPECT_EQ(Written(L"a.elf", files, L"--coder 1234567890123456X --cdvol " + Text(129, L't')),
            whole("A.ELF           1234567890123456" + std::string(128, 't')));
  for (const auto& [length, body] : std::map<int, int>{{256, 0}, {257, 1}, {40000, 32512}}) {
    EXPECT_EQ(Written(L"a", {{Template, {std::string(length, 'b')}}}).substr(256),
              std::string(body, 'b') + std::string(32512 - body, '\0'));
  }
}

TEST(WriteBootSector, ChangesTheNameInAnOldFileAndNothingElse) {
  const auto updated = [](const std::string& old, const Text& bootFile) {
    return Written(bootFile, {{IpBin, {std::string(96, 'x') + old}}}).substr(96);
  };
  EXPECT_EQ(updated("    GAME.BIN    rest", L"game.bin"), "    GAME.BIN    rest");
  EXPECT_NE(host.files[IpBin].changed, host.now) << "the right name is not written again";
  EXPECT_EQ(updated("game.bin        rest", L"game.bin"), "GAME.BIN        rest");
  EXPECT_EQ(updated("A.BIN\0         \0rest"s, L"A.BIN\0         \0"s), "A.BIN           rest");
  EXPECT_EQ(updated("SIXTEENLONG.BINXrest", L"sixteen-long.bin"), "SIXTEEN-LONG.BINrest");
  EXPECT_EQ(updated("SIXTEENLONG.BINXrest", L"seventeen-lng.bin"), "SIXTEENLONG.BINXrest");
}
