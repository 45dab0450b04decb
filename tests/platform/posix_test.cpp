#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/encoding.h"
#include "platform/posix/host_error.h"
#include "platform/posix/spawn.h"
#include "support.h"

using namespace platform;
using std::filesystem::perms;

TEST(Encoding, AnyBytesSurviveTheWayInAndOut) {
  const std::string ends =
      "\x7F \xC2\x80 \xDF\xBF \xE0\xA0\x80 \xED\x9F\xBF \xEE\x80\x80 \xEF\xBF\xBF "
      "\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF";
  EXPECT_EQ(posix::Widen(ends), L"\x7F \x80 \x7FF \x800 \xD7FF \xE000 \xFFFF \x10000 \x10FFFF");
  EXPECT_EQ(posix::Narrow(posix::Widen(ends)), ends);
  for (const std::string bytes :
       {"\x80", "\xC1\xBF", "\xC2", "\xC2\xC0", "\xE0\x9F\xBF", "\xE2\x82", "\xED\xA0\x80", "\xED\xBF\xBF",
        "\xF0\x8F\xBF\xBF", "\xF0\x9F\x98", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
    Text escaped;
    for (const char byte : bytes) escaped += static_cast<wchar_t>(0xDC00 + static_cast<unsigned char>(byte));
    EXPECT_EQ(posix::Widen(bytes), escaped);
    EXPECT_EQ(posix::Widen(bytes + "/"), escaped + L"/");
    EXPECT_EQ(posix::Narrow(escaped), bytes);
  }
  EXPECT_EQ(ToBytes(L"\u00FF\u0100\xDC80"), "\xFF??");
  EXPECT_EQ(UpperCase(L"\u00FE\u00FF\u0101"), L"\u00DE\u00FF\u0101");
}

TEST(HostError, HasANumberForEachCause) {
  const std::pair<int, int> causes[] = {
      {ENOMEM, 7},  {EINVAL, 52}, {EILSEQ, 52},  {ELOOP, 52},  {ENAMETOOLONG, 52}, {ENOENT, 53},
      {EIO, 57},    {EPIPE, 57},  {EEXIST, 58},  {ENOSPC, 61}, {EDQUOT, 61},       {EMFILE, 67},
      {ENFILE, 67}, {EBUSY, 70},  {ETXTBSY, 70}, {EAGAIN, 70}, {EACCES, 75},       {EPERM, 75},
      {EROFS, 75},  {EISDIR, 75}, {ENOTDIR, 76}};
  for (const auto& [error, number] : causes) {
    EXPECT_EQ(ErrorOf([value = error] { posix::RaiseHostError(value); }), number);
    EXPECT_EQ(ErrorOf([value = error] { posix::RaiseHostErrorOnCreate(value); }),
              error == ENOENT ? 76 : number);
  }
}

TEST_F(Files, MoveAcrossVolumesIsACopyThatNeverOverwrites) {
  const std::filesystem::path there = "/dev/shm" / scratch.filename(), parked = there / "parked";
  std::filesystem::create_directory(there);
  std::ofstream("IP.BIN") << std::string(100'000, 'c');
  EXPECT_THROW(std::filesystem::create_hard_link("IP.BIN", parked), std::exception) << "two volumes";
  std::filesystem::permissions("IP.BIN", perms(0666));
  std::filesystem::last_write_time("IP.BIN", {});
  const LocalTime time = FileTime(L"IP.BIN");
  Move(L"IP.BIN", parked.wstring());
  EXPECT_FALSE(PathExists(L"IP.BIN"));
  EXPECT_EQ(FileTime(parked.wstring()), time);
  EXPECT_EQ(std::filesystem::status(parked).permissions(), perms(0666));

  std::ofstream("IP.BIN") << "another";
  EXPECT_EQ(ErrorOf([&] { Move(L"IP.BIN", parked.wstring()); }), 58);
  EXPECT_EQ(ReadFile(parked), std::string(100'000, 'c'));
  std::filesystem::remove_all(there);
}

TEST_F(Files, LinksMoveAndMatchAsTheirFilesAndLeaveThemAsTheyAre) {
  std::filesystem::create_symlink("nowhere", "b.elf");
  for (const char* name : {".c.elf", "d.ELF", "z.elf"}) std::ofstream(name) << name;
  std::filesystem::create_symlink("z.elf", "m\xFFn.elf");
  EXPECT_EQ(FirstMatch(L"*.elf"), L"m\xDCFFn.elf");
  EXPECT_FALSE(PathExists(L"b.elf"));
  std::filesystem::permissions("z.elf", perms(0440));
  ResetAttributes(L"m\xDCFFn.elf");
  EXPECT_EQ(std::filesystem::status("z.elf").permissions(), perms(0440));
  std::filesystem::last_write_time("z.elf", {});
  EXPECT_EQ(FileTime(L"m\xDCFFn.elf"), FileTime(L"z.elf"));
  EXPECT_EQ(ErrorOf([] { Move(L"m\xDCFFn.elf", L"none/to"); }), 76);
  Move(L"m\xDCFFn.elf", L"moved");
  EXPECT_TRUE(ReadFile("moved") == "z.elf" && !std::filesystem::is_symlink("moved"));
  EXPECT_EQ(FirstMatch(L"m*"), L"moved") << "the link is gone";
  ResetAttributes(L"z.elf");
  EXPECT_EQ(std::filesystem::status("z.elf").permissions(), perms(0640));
}

TEST_F(Files, TimesAreLocalAndTicksCountFromTheStart) {
  ::setenv("TZ", "UTC-3", 1);
  ::tzset();
  std::ofstream("file") << "x";
  const timespec times[] = {{0, 0}, {1'700'000'000, 123'456'789}};
  ASSERT_EQ(::utimensat(AT_FDCWD, "file", times, 0), 0);
  EXPECT_EQ(FileTime(L"file").time_since_epoch().count(), 17'000'108'001'234'567);
  std::ofstream("file") << "y";
  EXPECT_LT(std::chrono::abs(PresentTime() - FileTime(L"file")), std::chrono::hours(1));
  const auto milliseconds = [] {
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<std::uint32_t>(time.tv_sec * 1000 + time.tv_nsec / 1'000'000);
  };
  const std::uint32_t start = milliseconds(), ticks = static_cast<std::uint32_t>(TickCount());
  EXPECT_LE(ticks - start, milliseconds() - start);
  ::unsetenv("TZ");
}

TEST(SplitCommandLine, ReadsQuotesAsWindowsProgramsDo) {
  using Items = std::vector<std::string>;
  const std::pair<std::string, Items> lines[] = {
      {R"("/a b\" "c\d")", {"/a b\\", "c\\d"}},
      {R"(t "a\\" b)", {"t", "a\\", "b"}},
      {R"(t a\\\"b \\x "c\" d" \)", {"t", "a\\\"b", "\\\\x", "c\" d", "\\"}},
      {"t\t-V \"\"  a\tb ", {"t", "-V", "", "a", "b"}},
      {R"(t a"b c"d "open e)", {"t", "ab cd", "open e"}},
  };
  for (const auto& [line, items] : lines) EXPECT_EQ(posix::SplitCommandLine(line), items);
}

TEST_F(Files, TempFolderIsPrivateOrNone) {
  const std::string folder = "marrowvan-" + std::to_string(::geteuid());
  ::setenv("TMPDIR", ".", 1);
  EXPECT_TRUE(TempFolder().starts_with(posix::Widen("./" + folder + "/")));
  std::filesystem::permissions(folder, perms(0710));
  EXPECT_EQ(TempFolder(), L"") << "one that others may enter";
  std::filesystem::permissions(folder, perms(0700));
  std::filesystem::rename(folder, "elsewhere");
  std::filesystem::create_symlink("elsewhere", folder);
  EXPECT_EQ(TempFolder(), L"") << "a link";
  std::filesystem::remove(folder);
  std::ofstream(folder) << "x";
  std::filesystem::permissions(folder, perms(0700));
  EXPECT_EQ(TempFolder(), L"") << "a file";
  std::filesystem::remove(folder);
  std::filesystem::rename("elsewhere", folder);
  const bool isRoot = ::chown(folder.c_str(), 1, 1) == 0;  // nobody else can give a folder away
  EXPECT_EQ(TempFolder().empty(), isRoot) << "another's";
  ::setenv("TMPDIR", "", 1);
  const std::string inTmp = posix::Narrow(TempFolder());
  EXPECT_TRUE(inTmp.starts_with("/tmp/" + folder + "/"));
  std::filesystem::remove(inTmp);
  ::unsetenv("TMPDIR");
}
