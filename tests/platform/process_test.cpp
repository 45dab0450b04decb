#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/platform.h"
#include "platform/posix/encoding.h"
#include "platform/posix/spawn.h"
#include "scratch.h"

namespace platform {
namespace {

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

TEST(StartAndWait, FindsTheToolInItsFolderOrOnPathAndWaits) {
  const Scratch scratch;
  const auto script = [&](const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    WriteFile(path,
              "#!/bin/sh\nsleep 0.1\necho " + text + " \"$1\" > '" + (scratch / "out").native() + "'\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  };
  const auto outputOf = [&](const std::filesystem::path& tool) {
    std::filesystem::remove(scratch / "out");
    StartAndWait(L"\"" + posix::Widen(tool.native()) + L"\" \"a b\"", 0);
    return ReadFile(scratch / "out");
  };
  script(scratch / "path/tool-of-ours", "on PATH");
  const char* inherited = ::getenv("PATH");
  const std::string path = inherited != nullptr ? inherited : "/usr/bin:/bin";
  ::setenv("PATH", ((scratch / "path").native() + ":" + path).c_str(), 1);

  EXPECT_EQ(outputOf(scratch / "app/tool-of-ours.exe"), "on PATH a b\n");
  script(scratch / "app/tool-of-ours", "beside");
  EXPECT_EQ(outputOf(scratch / "app/tool-of-ours.exe"), "beside a b\n");
  EXPECT_EQ(outputOf(scratch / "app/no-such-tool.exe"), "");
  ::setenv("PATH", path.c_str(), 1);
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
