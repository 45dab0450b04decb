#include <gtest/gtest.h>

#include "bootsector/write.h"
#include "fake_platform.h"

namespace mMain {
namespace {

using fake::host;
using namespace std::string_literals;

const Text IpBin = L"C:\\dc\\IP.BIN";

std::string Filled(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}

void Prepare(const Text& bootFileName, const Text& options = L"") {
  fake::Reset();
  RunState.CommandLine = options;
  RunState.BootFile = L"C:\\dc\\" + bootFileName;
}

TEST(WriteBootSector, NewFileByteForByte) {
  struct Row {
    Text name, options;
    std::string nameField, maker, title;
  };
  const Row rows[] = {
      {L"1ST_READ.BIN", L"", "1ST_READ.BIN", "Tarnfel", "Marrowvane 0.1"},
      {L"demo.elf", L"--coder Somebody --cdvol My Game", "DEMO.ELF", "Somebody", "My Game"},
      {L"sixteen-long.elf", L"--coder --cdvol", "SIXTEEN-LONG.ELF", "--coder", "--cdvol"},
      {L"a.elf", L"--coder 1234567890123456X --cdvol " + Text(129, L't'), "A.ELF", "1234567890123456",
       std::string(128, 't')},
      {L"G.BIN\0\0"s, L"", "G.BIN", "Tarnfel", "Marrowvane 0.1"},
  };
  for (const Row& row : rows) {
    Prepare(row.name, row.options);
    host.files[L"C:\\tools\\IP.TMPL"] = {std::string(256, 'h') + std::string(32512, 'b') + "behind"};
    WriteBootSector(IpBin);
    EXPECT_EQ(
        host.files[IpBin].bytes,
        "SEGA SEGAKATANA SEGA ENTERPRISESB6D8 CD-ROM1/1  JUE     E000010 T0000     V1.00020270115        "s +
            Filled(row.nameField, 16) + Filled(row.maker, 16) + Filled(row.title, 128) +
            std::string(32512, 'b'));
  }
}

TEST(WriteBootSector, TemplateOfAnyLengthGivesAWholeFile) {
  struct Row {
    std::size_t length, bodyBytes;
  };
  for (const Row& row :
       {Row{0, 0}, Row{100, 0}, Row{256, 0}, Row{257, 1}, Row{32767, 32511}, Row{40000, 32512}}) {
    Prepare(L"1ST_READ.BIN");
    if (row.length != 0) host.files[L"C:\\tools\\IP.TMPL"] = {std::string(row.length, 'b')};
    WriteBootSector(IpBin);
    const std::string& bytes = host.files[IpBin].bytes;
    EXPECT_TRUE(host.files.contains(L"C:\\tools\\IP.TMPL")) << "a missing one is created empty";
    EXPECT_EQ(bytes.substr(256), std::string(row.bodyBytes, 'b') + std::string(32512 - row.bodyBytes, '\0'));
  }
}

TEST(WriteBootSector, UpdateChangesTheNameAndNothingElse) {
  const std::string before(96, 'x');
  struct Row {
    std::string old;
    Text name;
    std::string updated;
    bool written;
  };
  const Row rows[] = {
      {before + Filled("GAME.BIN", 16) + "rest", L"game.bin", before + Filled("GAME.BIN", 16) + "rest",
       false},
      {before + "    GAME.BIN    " + "rest", L"game.bin", before + "    GAME.BIN    " + "rest", false},
      {before + Filled("game.bin", 16) + "rest", L"game.bin", before + Filled("GAME.BIN", 16) + "rest", true},
      {before + "SIXTEENLONG.BINX" + "rest", L"a.bin", before + Filled("A.BIN", 16) + "rest", true},
      {before + Filled("A.BIN\0"s, 16) + "rest", L"A.BIN", before + Filled("A.BIN", 16) + "rest", true},
      {before + "A.BIN"s + std::string(11, '\0') + "rest", L"A.BIN" + Text(11, L'\0'),
       before + Filled("A.BIN", 16) + "rest", true},
      {"", L"1ST_READ.BIN", std::string(96, '\0') + Filled("1ST_READ.BIN", 16), true},
      {before + "GAME", L"1ST_READ.BIN", before + Filled("1ST_READ.BIN", 16), true},
  };
  for (const Row& row : rows) {
    Prepare(row.name, L"--coder other --cdvol other");
    host.files[IpBin] = {row.old};
    WriteBootSector(IpBin);
    EXPECT_EQ(host.files[IpBin].bytes, row.updated);
    const auto opened = std::count(host.trace.begin(), host.trace.end(), L"open " + IpBin);
    EXPECT_EQ(opened, row.written ? 2 : 1);
    EXPECT_EQ(host.files.size(), 1U);
  }
}

}  // namespace
}  // namespace mMain
