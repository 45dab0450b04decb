#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "errors/runtime_error.h"
#include "platform/platform.h"
#include "platform/posix/encoding.h"
#include "scratch.h"

namespace platform {
namespace {

Text Wide(const std::filesystem::path& path) {
  return posix::Widen(path.native());
}

/// The number that `operation` raises; 0 if it raises nothing.
template <typename Operation>
int Raised(Operation operation) {
  try {
    operation();
    return 0;
  } catch (const RuntimeError& error) {
    return error.Number;
  }
}

std::span<const std::byte> Bytes(const std::string& text) {
  return std::as_bytes(std::span(text));
}

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
  const auto open = [](const std::filesystem::path& path) { return Raised([&] { Open(Wide(path)); }); };
  EXPECT_EQ(open(scratch / "none/file"), 76);
  EXPECT_EQ(open(scratch / "file/file"), 76);
  EXPECT_EQ(open(scratch.Path()), 75);
  EXPECT_EQ(open(scratch / std::string(300, 'n')), 52);
  EXPECT_EQ(Raised([&] { FileTime(Wide(scratch / "none")); }), 53);
  EXPECT_EQ(Raised([&] { Remove(Wide(scratch / "none")); }), 53);
  EXPECT_EQ(Raised([&] { Move(Wide(scratch / "none"), Wide(scratch / "to")); }), 53);
  EXPECT_EQ(Raised([&] { Move(Wide(scratch / "file"), Wide(scratch / "none/to")); }), 76);

  Open(L"/dev/full");
  EXPECT_EQ(Raised([] { Write(Bytes("x")); }), 61);
  Close();
}

TEST(Files, MoveNeverOverwritesOnOneVolumeOrAcrossTwo) {
  const Scratch here;
  const Scratch there("/dev/shm");
  struct stat a {
  }, b{};
  ASSERT_EQ(::stat(here.Path().c_str(), &a) | ::stat(there.Path().c_str(), &b), 0);
  ASSERT_NE(a.st_dev, b.st_dev);
  for (const Scratch* target : {&here, &there}) {
    const std::string contents(100'000, 'c');
    const auto from = here / "IP.BIN";
    const auto to = *target / "parked";
    WriteFile(from, contents);
    WriteFile(to, "older");
    const LocalTime time = FileTime(Wide(from));
    EXPECT_EQ(Raised([&] { Move(Wide(from), Wide(to)); }), 58);
    EXPECT_EQ(ReadFile(from), contents);
    EXPECT_EQ(ReadFile(to), "older");

    std::filesystem::remove(to);
    Move(Wide(from), Wide(to));
    EXPECT_EQ(ReadFile(to), contents);
    EXPECT_FALSE(std::filesystem::exists(from));
    EXPECT_EQ(FileTime(Wide(to)), time);
  }
  std::filesystem::create_directory(here / "folder");
  EXPECT_EQ(Raised([&] { Move(Wide(here / "folder"), Wide(there / "folder")); }), 75);
  EXPECT_FALSE(std::filesystem::exists(there / "folder"));
}

TEST(Files, RemoveTakesAReadOnlyFileAndALinkButNotItsTarget) {
  const Scratch scratch;
  WriteFile(scratch / "target", "x");
  std::filesystem::create_symlink(scratch / "target", scratch / "link");
  std::filesystem::permissions(scratch / "target", std::filesystem::perms::owner_read);
  for (const char* name : {"link", "target"}) {
    EXPECT_TRUE(PathExists(Wide(scratch / "target")));
    ResetAttributes(Wide(scratch / name));
    Remove(Wide(scratch / name));
    EXPECT_FALSE(PathExists(Wide(scratch / name)));
  }
}

TEST(Files, FirstMatchIsTheSmallestVisibleFile) {
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

  times[1].tv_sec = 0x7FFFFFFFFFFFFFF;  // what a file system keeps of it, an age can be told
  ::utimensat(AT_FDCWD, (scratch / "file").c_str(), times, 0);
  EXPECT_GT(FileTime(Wide(scratch / "file")), PresentTime());
}

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

}  // namespace
}  // namespace platform
