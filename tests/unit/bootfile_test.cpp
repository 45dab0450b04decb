#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "bootfile/classify.h"
#include "bootfile/locate.h"
#include "fake_platform.h"

namespace mMain {
namespace {

using fake::host;
using namespace std::string_literals;

const std::string Letters = "abcdefghijklmnopqrstuvwxyz";

/// Written down once more, with their NUL bytes in place.
const std::vector<std::string> Signatures = {
    "0123456789" + Letters,
    Letters + "0123456789",
    Letters + "1234567890",
    "1234567890" + Letters,
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ.0123456789-",
    "$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~",
    "abcdefghijklEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()",
    "0123456789abcdef\0\0\0\0(null)\0\0"s + "0123456789ABCDEF",
    "0123456789ABCDEF\0\0\0\0Inf\0NaN\0"s + "0123456789abcdef\0\0\0\0(null)\0\0\0"s,
    "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND",
    [] {
      std::string wide;
      for (const char c : "#'*-/2479;=?ACEGIJLNOQRTUWXZ"s) wide += c + "\0\0\0"s;
      return wide;
    }(),
};

BootFileKind KindOf(const std::string& bytes) {
  return ClassifyBootFile(std::as_bytes(std::span(bytes)));
}

TEST(ClassifyBootFile, GoesByTheMagicAtTheStart) {
  EXPECT_EQ(KindOf("\x7F"
                   "ELF"),
            BootFileKind::ElfFile);
  EXPECT_EQ(KindOf("\x7F"
                   "ELF" +
                   Signatures[0]),
            BootFileKind::ElfFile);
  EXPECT_EQ(KindOf("\x7F"
                   "EL"),
            BootFileKind::ScrambledBinary);
  EXPECT_EQ(KindOf(" \x7F"
                   "ELF"),
            BootFileKind::ScrambledBinary);
  EXPECT_EQ(KindOf("x"), BootFileKind::ScrambledBinary);
  for (const std::string& signature : Signatures) {
    EXPECT_EQ(KindOf(signature), BootFileKind::UnscrambledBinary) << signature;
    EXPECT_EQ(KindOf(signature.substr(1)), BootFileKind::ScrambledBinary) << signature;
    EXPECT_EQ(KindOf(signature.substr(0, signature.size() - 1)), BootFileKind::ScrambledBinary) << signature;
  }
}

TEST(ClassifyBootFile, AgreesWithPlainSearchesOnTornSignatures) {
  std::mt19937 random(1);
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string file;
    for (int piece = 0; piece < 20; ++piece) {
      const std::string& signature = Signatures[random() % Signatures.size()];
      const std::size_t cut = random() % 8 == 0 ? 0 : random() % 40;
      file += signature.substr(std::min<std::size_t>(cut, signature.size()),
                               random() % 2 == 0 ? 200 : random() % 60);
      file.append(random() % 3, '\0');
      if (random() % 4 == 0 && !file.empty()) {
        file[file.size() - 1 - random() % std::min<std::size_t>(file.size(), 40)] ^= 0x20;
      }
    }
    const bool holds =
        std::ranges::any_of(Signatures, [&](const auto& s) { return file.find(s) != file.npos; });
    found += holds ? 1 : 0;
    ASSERT_EQ(KindOf(file) == BootFileKind::UnscrambledBinary, holds) << round;
  }
  EXPECT_GT(found, 300);
  EXPECT_LT(found, 2700);
}

void Prepare(const Text& bootFile, const std::string& bytes) {
  fake::Reset();
  host.folders = {L"C:\\dc"};
  RunState.SelfbootDir = L"C:\\dc";
  RunState.TempDir = L"C:\\Temp\\";
  if (!bootFile.empty()) {
    RunState.BootFile = bootFile;
    host.files[CutAtNul(bootFile)] = {bytes};
  }
}

int EndOf(void (*procedure)()) {
  try {
    procedure();
    return 0;
  } catch (const fake::ProcessEnded& end) {
    return end.status;
  }
}

TEST(LocateBootFile, AsksItsThreeSources) {
  const std::string names16 = "  GaMe.bin      ";
  struct Row {
    std::vector<Text> files;
    std::string nameInIpBin;
    Text result;  // empty: not located
  };
  const Row rows[] = {
      {{L"1ST_READ.BIN"}, names16, L"C:\\dc\\1ST_READ.BIN"},
      {{L"1ST_READ.BIN", L"GaMe.bin"}, names16, L"C:\\dc\\1ST_READ.BIN"},
      {{L"1ST_READ.BIN", L"b.elf", L"a.elf"}, names16, L"C:\\dc\\a.elf"},
      {{L"GaMe.bin"}, names16, L"C:\\dc\\GaMe.bin"},
      {{L"GaMe.bin", L"a.elf"}, names16, L"C:\\dc\\a.elf"},
      {{L"a.elf"}, names16, L"C:\\dc\\a.elf"},
      {{L"other.bin"}, names16, L""},
      {{}, "", L""},
      {{L"GAME.BIN"}, "GAME.BIN\0\0\0\0\0\0\0\0"s, L"C:\\dc\\GAME.BIN\0\0\0\0\0\0\0\0"s},
  };
  for (const Row& row : rows) {
    Prepare(L"", "");
    for (const Text& name : row.files) host.files[L"C:\\dc\\" + name] = {"x"};
    if (!row.nameInIpBin.empty())
      host.files[L"C:\\dc\\IP.BIN"] = {std::string(96, 'i') + row.nameInIpBin + "more"};
    const auto before = host.files.size();
    EXPECT_EQ(EndOf(LocateBootFile), row.result.empty() ? 1 : 0);
    EXPECT_EQ(RunState.BootFile.value_or(L""), row.result);
    EXPECT_EQ(host.files.size(), before);
    EXPECT_EQ(host.messages.empty() ? L"" : host.messages[0],
              row.result.empty() ? L"[16] The DC bootfile could not be located!" : L"");
  }
}

}  // namespace
}  // namespace mMain
