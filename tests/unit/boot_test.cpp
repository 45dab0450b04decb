#include <algorithm>

#include "bootfile/classify.h"
#include "bootsector/write.h"
#include "fake_platform.h"
#include "version.h"

using namespace mMain;
using namespace std::string_literals;
using enum BootFileKind;
using fake::host;

/// The signatures, with a dot for each NUL byte in the last three.
static const std::vector<std::string> Signatures = {
    "0123456789abcdefghijklmnopqrstuvwxyz",
    "abcdefghijklmnopqrstuvwxyz0123456789",
    "abcdefghijklmnopqrstuvwxyz1234567890",
    "1234567890abcdefghijklmnopqrstuvwxyz",
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ.0123456789-",
    "$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~",
    "abcdefghijklEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()",
    "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND",
    "0123456789abcdef....(null)..0123456789ABCDEF",
    "0123456789ABCDEF....Inf.NaN.0123456789abcdef....(null)...",
    "#...'...*...-.../...2...4...7...9...;...=...?...A...C...E...G...I...J...L...N..."s +
        "O...Q...R...T...U...W...X...Z...",
};

static BootFileKind KindOf(const std::string& file) {
  return ClassifyBootFile(std::as_bytes(std::span(file)));
}

TEST(ClassifyBootFile, FindsTheElfMagicAtTheStartAndWholeSignaturesAnywhere) {
  EXPECT_EQ(KindOf("\177ELF PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"), ElfFile);
  EXPECT_EQ(KindOf("\177EL"), ScrambledBinary);
  EXPECT_EQ(KindOf(" \177ELF"), ScrambledBinary);
  for (std::size_t i = 0; i < Signatures.size(); ++i) {
    std::string signature = Signatures[i];
    if (i >= 8) std::ranges::replace(signature, '.', '\0');
    for (std::size_t position = 0; position <= 66; ++position) {
      const std::string before(position, '.');
      EXPECT_EQ(KindOf(before + signature), UnscrambledBinary) << signature << position;
      EXPECT_EQ(KindOf(before + signature + before), UnscrambledBinary) << signature << position;
      EXPECT_EQ(KindOf(before + signature.substr(1)), ScrambledBinary) << signature;
      EXPECT_EQ(KindOf(before + signature.substr(0, signature.size() - 1)), ScrambledBinary) << signature;
    }
  }
}

static const Text IpBin = L"C:\\dc\\IP.BIN";
static const Text Template = L"C:\\tools\\IP.TMPL";

/// Returns the boot sector that a run writes when these files exist.
static std::string Written(const Text& bootFile, const std::map<Text, fake::File>& files,
                           const Text& options = L"") {
  fake::Reset(options);
  host.files = files;
  RunState.BootFile = L"C:\\dc\\" + bootFile;
  ErrorOf([] { WriteBootSector(IpBin); });
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
  EXPECT_EQ(Written(L"1st_read.bin\0\0"s, files),
            whole("1ST_READ.BIN    Tarnfel         Marrowvane "s + ProductVersion));
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
  EXPECT_EQ(updated("?.ELF           rest", L"\u65E5.elf"), "?.ELF           rest");
  EXPECT_NE(host.files[IpBin].changed, host.now) << "nor one that is stored with a question mark";
  EXPECT_EQ(updated("game.bin        rest", L"game.bin"), "GAME.BIN        rest");
  EXPECT_EQ(updated("A.BIN\0         \0rest"s, L"A.BIN\0         \0"s), "A.BIN           rest");
  EXPECT_EQ(updated("SIXTEENLONG.BINXrest", L"sixteen-long.bin"), "SIXTEEN-LONG.BINrest");
  EXPECT_EQ(updated("SIXTEENLONG.BINXrest", L"seventeen-lng.bin"), "SIXTEENLONG.BINXrest");
}
