#include "support.h"

using namespace platform;
using namespace std::string_literals;

TEST_F(Files, OpenNeverTruncatesAndReadFillsWhatIsThere) {
  Open(L"file");
  EXPECT_EQ(Length(), 0U);
  Write(std::as_bytes(std::span("abcdef", 6)));
  Close();
  Open(L"file\0after a NUL"s);
  EXPECT_EQ(Length(), 6U);
  for (const auto& [position, expected] : {std::pair(100, "...."), {4, "ef.."}, {0, "abcd"}}) {
    std::string buffer = "....";
    Seek(position);
    Read(std::as_writable_bytes(std::span(buffer)));
    EXPECT_EQ(buffer, expected);
  }
  Seek(8);
  Write(std::as_bytes(std::span("!", 1)));
  Close();
  EXPECT_EQ(ReadFile("file"), "abcdef\0\0!"s);
}

TEST_F(Files, RaiseTheirNumbersAndMoveNeverOverwrites) {
  std::filesystem::create_directory("a.elf");
  EXPECT_EQ(FirstMatch(L"*.elf"), std::nullopt);
  EXPECT_EQ(FirstMatch(L"none/*.elf"), std::nullopt);
  std::ofstream("file") << "new";
  std::ofstream("older") << "older";
  EXPECT_EQ(ErrorOf([] { Open(L"none/file"); }), 76);
  EXPECT_EQ(ErrorOf([] { Open(L"."); }), 75);
  EXPECT_EQ(ErrorOf([] { FileTime(L"none"); }), 53);
  EXPECT_EQ(ErrorOf([] { ResetAttributes(L"none"); }), 53);
  EXPECT_EQ(ErrorOf([] { Remove(L"none"); }), 53);
  EXPECT_EQ(ErrorOf([] { Move(L"none", L"to"); }), 53);
  EXPECT_EQ(ErrorOf([] { Move(L"file", L"none/to"); }), 76);
  EXPECT_EQ(ErrorOf([] { Move(L"file", L"older"); }), 58);
  EXPECT_EQ(ErrorOf([] { Move(L"file", L"./file"); }), 58) << "onto itself";
  EXPECT_EQ(ReadFile("file") + ReadFile("older"), "newolder");
  Move(L"file", L"to");
  EXPECT_TRUE(ReadFile("to") == "new" && !PathExists(L"file"));
  std::filesystem::permissions("to", std::filesystem::perms::owner_read);
  ResetAttributes(L"to");
  Remove(L"to");
  EXPECT_FALSE(PathExists(L"to"));
}

TEST(Text, HasOneByteForEachCharacter) {
  EXPECT_EQ(ToBytes(L"A\u00E9\u0101 z"), "A\xE9? z");
  EXPECT_EQ(FromBytes("A\xE9"), L"A\u00E9");
  EXPECT_EQ(UpperCase(L"az\u00E0\u00F7\u00FE\u00DF.[`{"), L"AZ\u00C0\u00F7\u00DE\u00DF.[`{");
}
