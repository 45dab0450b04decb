#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/encoding.h"
#include "platform/posix/spawn.h"
#include "platform_test.h"

namespace platform {
namespace {

TEST(Encoding, AnyBytesSurviveTheWayInAndOut) {
  EXPECT_EQ(posix::Widen("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), L"a\u00E9\u20AC\U0001F600");
  for (const std::string& bytes :
       {std::string("plain"), std::string("\x80\xBF\xC0\xAF\xFE\xFF"), std::string("\xC3"),
        std::string("\xE0\x80\x80"), std::string("\xED\xB2\x80"), std::string("\xF4\x90\x80\x80"),
        std::string("\xE2\x82 \xC3\xA9"), std::string("\xF0\x9F\x98\x80")}) {
    EXPECT_EQ(posix::Narrow(posix::Widen(bytes)), bytes);
  }
  EXPECT_EQ(ToBytes(L"A\u00E9\u20AC\xDC80 z"), "A\xE9?? z");
  EXPECT_EQ(FromBytes("A\xE9"), L"A\u00E9");
  EXPECT_EQ(UpperCase(L"az\u00E0\u00F6\u00F7\u00F8\u00FE\u00FF\u00DF\u20AC\u0101.[`{"),
            L"AZ\u00C0\u00D6\u00F7\u00D8\u00DE\u00FF\u00DF\u20AC\u0101.[`{");
}

TEST(Files, MoveAcrossVolumesIsACopyThatNeverOverwrites) {
  const Scratch here;
  const Scratch there("/dev/shm");
  struct stat a {
  }, b{};
  ASSERT_EQ(::stat(here.Path().c_str(), &a) | ::stat(there.Path().c_str(), &b), 0);
  ASSERT_NE(a.st_dev, b.st_dev);
  const auto from = here / "IP.BIN";
  const auto to = there / "parked";
  const std::string contents(100'000, 'c');
  WriteFile(from, contents);
  ::chmod(from.c_str(), 0666);
  WriteFile(to, "older");
  EXPECT_EQ(Raised([&] { Move(Wide(from), Wide(to)); }), 58);
  EXPECT_EQ(ReadFile(to), "older");
  const LocalTime time = FileTime(Wide(from));
  std::filesystem::remove(to);
  Move(Wide(from), Wide(to));
  EXPECT_EQ(ReadFile(to), contents);
  EXPECT_FALSE(std::filesystem::exists(from));
  EXPECT_EQ(FileTime(Wide(to)), time);
  EXPECT_EQ(std::filesystem::status(to).permissions(), std::filesystem::perms(0666));

  std::filesystem::create_symlink("parked", there / "link");
  Move(Wide(there / "link"), Wide(from));
  EXPECT_EQ(ReadFile(from), contents) << "a link moves as the file that it leads to";
  std::filesystem::create_directory(here / "folder");
  EXPECT_EQ(Raised([&] { Move(Wide(here / "folder"), Wide(there / "folder")); }), 75);
  EXPECT_FALSE(std::filesystem::exists(there / "folder"));
}

TEST(Files, FirstMatchIsTheSmallestVisibleOne) {
  const Scratch scratch;
  const Text pattern = Wide(scratch.Path()) + L"/*.elf";
  EXPECT_EQ(FirstMatch(pattern), std::nullopt);
  std::filesystem::create_directory(scratch / "a.elf");
  WriteFile(scratch / ".b.elf", "");
  WriteFile(scratch / "c.ELF", "");
  std::filesystem::create_directory(scratch / "sub");
  WriteFile(scratch / "sub/d.elf", "");
  EXPECT_EQ(FirstMatch(pattern), std::nullopt);
  for (const char* name : {"z.elf", "m\xFFn.elf", "n.elf"}) WriteFile(scratch / name, "");
  EXPECT_EQ(FirstMatch(pattern), L"m\xDCFFn.elf");
  EXPECT_EQ(FirstMatch(Wide(scratch / "none/*.elf")), std::nullopt);
}

TEST(Files, TimesAreInLocalTimeAndFine) {
  const Scratch scratch;
  WriteFile(scratch / "file", "x");
  timespec times[] = {{1'700'000'000, 0}, {1'700'000'000, 123'456'789}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (scratch / "file").c_str(), times, 0), 0);
  ::setenv("TZ", "UTC-3", 1);
  ::tzset();
  EXPECT_EQ(FileTime(Wide(scratch / "file")).time_since_epoch().count(), 17'000'108'001'234'567);
  ::unsetenv("TZ");
  ::tzset();
}

TEST(SplitCommandLine, ReadsQuotesAsWindowsProgramsDo) {
  struct Row {
    std::string line;
    std::vector<std::string> items;
  };
  const Row rows[] = {
      {"tool", {"tool"}},
      {R"("/a b/tool.exe" -o "x y" z)", {"/a b/tool.exe", "-o", "x y", "z"}},
      {R"("/a\b\" "c\d")", {"/a\\b\\", "c\\d"}},
      {R"(t "a\\" b)", {"t", "a\\", "b"}},
      {R"(t "a\" b" c)", {"t", "a\" b", "c"}},
      {R"(t a\\\"b \\x)", {"t", "a\\\"b", "\\\\x"}},
      {R"(t -V "" -o)", {"t", "-V", "", "-o"}},
      {"t  a\tb ", {"t", "a", "b"}},
      {R"(t a"b c"d "open)", {"t", "ab cd", "open"}},
      {R"("t)", {"t"}},
  };
  for (const Row& row : rows) EXPECT_EQ(posix::SplitCommandLine(row.line), row.items) << row.line;
}

TEST(TempFolder, IsPrivateOrNone) {
  const Scratch scratch;
  ::setenv("TMPDIR", scratch.Path().c_str(), 1);
  const auto folder = scratch / ("marrowvan-" + std::to_string(::geteuid()));
  const Text expected = posix::Widen(folder.native() + "/");
  EXPECT_EQ(TempFolder(), expected);
  EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
  EXPECT_EQ(TempFolder(), expected) << "the second time it is there already";

  std::filesystem::permissions(folder, std::filesystem::perms(0770));
  EXPECT_EQ(TempFolder(), L"");
  std::filesystem::remove(folder);
  std::filesystem::create_directory(scratch / "elsewhere");
  std::filesystem::permissions(scratch / "elsewhere", std::filesystem::perms::owner_all);
  std::filesystem::create_symlink(scratch / "elsewhere", folder);
  EXPECT_EQ(TempFolder(), L"");
  ::setenv("TMPDIR", (scratch / "none").c_str(), 1);
  EXPECT_EQ(TempFolder(), L"");
  ::unsetenv("TMPDIR");
}

}  // namespace
}  // namespace platform
