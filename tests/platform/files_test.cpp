#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform_test.h"

namespace platform {
namespace {

TEST(Files, OpenCreatesButNeverTruncates) {
  const Scratch scratch;
  Open(Wide(scratch / "new"));
  EXPECT_EQ(Length(), 0U);
  Write(Bytes("abc"));
  Write(Bytes("def"));
  Close();
  Open(Wide(scratch / "new") + L'\0' + L"what stands behind a NUL");
  EXPECT_EQ(Length(), 6U);
  Seek(4);
  std::string buffer = "....";
  Read(std::as_writable_bytes(std::span(buffer)));
  EXPECT_EQ(buffer, "ef..");
  Seek(8);
  Write(Bytes("!"));
  Close();
  EXPECT_EQ(ReadFile(scratch / "new"), std::string("abcdef\0\0!", 9));
}

TEST(Files, RaisedNumbers) {
  const Scratch scratch;
  WriteFile(scratch / "file", "x");
  EXPECT_EQ(Raised([&] { Open(Wide(scratch / "none" / "file")); }), 76);
  EXPECT_EQ(Raised([&] { Open(Wide(scratch.Path())); }), 75);
  EXPECT_EQ(Raised([&] { FileTime(Wide(scratch / "none")); }), 53);
  EXPECT_EQ(Raised([&] { Remove(Wide(scratch / "none")); }), 53);
  EXPECT_EQ(Raised([&] { Move(Wide(scratch / "none"), Wide(scratch / "to")); }), 53);
  EXPECT_EQ(Raised([&] { Move(Wide(scratch / "file"), Wide(scratch / "none" / "to")); }), 76);
}

TEST(Files, MoveNeverOverwrites) {
  const Scratch scratch;
  WriteFile(scratch / "from", "new");
  WriteFile(scratch / "to", "older");
  EXPECT_EQ(Raised([&] { Move(Wide(scratch / "from"), Wide(scratch / "to")); }), 58);
  EXPECT_EQ(ReadFile(scratch / "from") + ReadFile(scratch / "to"), "newolder");
  std::filesystem::remove(scratch / "to");
  Move(Wide(scratch / "from"), Wide(scratch / "to"));
  EXPECT_EQ(ReadFile(scratch / "to"), "new");
  EXPECT_FALSE(PathExists(Wide(scratch / "from")));
}

TEST(Files, RemoveTakesAReadOnlyFileOnceItsAttributesAreReset) {
  const Scratch scratch;
  WriteFile(scratch / "file", "x");
  std::filesystem::permissions(scratch / "file", std::filesystem::perms::owner_read);
  ResetAttributes(Wide(scratch / "file"));
  Remove(Wide(scratch / "file"));
  EXPECT_FALSE(PathExists(Wide(scratch / "file")));
}

TEST(Files, FirstMatchIsNoFolder) {
  const Scratch scratch;
  const Text pattern = Wide(scratch / "*.elf");
  std::filesystem::create_directories(scratch / "a.elf");
  WriteFile(scratch / "a.elf" / "b.elf", "");
  EXPECT_EQ(FirstMatch(pattern), std::nullopt);
  EXPECT_EQ(FirstMatch(Wide(scratch / "none" / "*.elf")), std::nullopt);
  WriteFile(scratch / "c d.elf", "");
  EXPECT_EQ(FirstMatch(pattern), L"c d.elf");
}

}  // namespace
}  // namespace platform
