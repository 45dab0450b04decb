#include "files/paths.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/platform.h"

namespace mMain {
namespace {

/// A row's path with this host's separator: where that is the slash, the two are swapped.
Text Here(Text path) {
  if (platform::PathSeparator == L'\\') return path;
  std::ranges::transform(path, path.begin(), [](wchar_t c) {
    return c == L'\\' ? L'/' : c == L'/' ? L'\\' : c;
  });
  return path;
}

TEST(Paths, AddBackslashAddsOneWhereNoneStands) {
  struct Row {
    Text path, result;
  };
  for (const Row& row : {Row{L"C:\\dc", L"C:\\dc\\"}, Row{L"C:\\dc\\", L"C:\\dc\\"}, Row{L"C:\\", L"C:\\"},
                         Row{L"\\\\server\\dc", L"\\\\server\\dc\\"}, Row{L"game", L"game\\"},
                         Row{L"", L"\\"}, Row{L"a/", L"a/\\"}, Row{L" a ", L" a \\"}}) {
    EXPECT_EQ(AddBackslash(Here(row.path)), Here(row.result));
  }
}

TEST(Paths, NameExtensionAndBaseName) {
  struct Row {
    Text path, name, extension, base;
  };
  const Row rows[] = {
      {L"C:\\dc\\game.elf", L"game.elf", L"elf", L"C:\\dc\\game"},
      {L"C:\\dc\\game.tar.gz", L"game.tar.gz", L"gz", L"C:\\dc\\game.tar"},
      {L"game.elf", L"game.elf", L"elf", L"game"},
      {L"C:\\dc\\game", L"game", L"C:\\dc\\game", L"C:\\dc\\game"},
      {L"C:\\dc.old\\game", L"game", L"old\\game", L"C:\\dc.old\\game"},
      {L"C:\\dc\\", L"", L"C:\\dc\\", L"C:\\dc\\"},
      {L"C:\\dc.old\\", L"", L"old\\", L"C:\\dc.old\\"},
      {L".elf", L".elf", L"elf", L""},
      {L"C:\\dc\\.elf", L".elf", L"elf", L"C:\\dc\\"},
      {L"game.", L"game.", L"", L"game"},
      {L"", L"", L"", L""},
      {L"C:/dc/game.elf", L"C:/dc/game.elf", L"elf", L"C:/dc/game"},
      {L"  C:\\dc\\game.elf ", L"game.elf", L"elf", L"C:\\dc\\game"},
      {L" C:\\dc\\game ", L"game", L"C:\\dc\\game", L" C:\\dc\\game "},
      {L"C:\\dc\r\n\\ga\nme.elf", L"game.elf", L"elf", L"C:\\dc\\game"},
      {L"C:\\dc\\game.elf\t", L"game.elf\t", L"elf\t", L"C:\\dc\\game"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row.path));
    EXPECT_EQ(GetFileName(Here(row.path)), Here(row.name));
    EXPECT_EQ(GetFileExtension(Here(row.path)), Here(row.extension));
    EXPECT_EQ(GetBaseName(Here(row.path)), Here(row.base));
  }
}

}  // namespace
}  // namespace mMain
