#include "files/paths.h"

#include <gtest/gtest.h>

#include <tuple>

#include "platform/platform.h"

using namespace mMain;

/// A row's path with this host's separator: where that is the slash, the two are swapped.
static Text Here(Text path) {
  for (wchar_t& c : path) {
    if (platform::PathSeparator == L'/') c = c == L'\\' ? L'/' : c == L'/' ? L'\\' : c;
  }
  return path;
}

TEST(Paths, SeparatorNameExtensionAndBaseName) {
  EXPECT_EQ(AddBackslash(Here(L"C:\\dc\\")), Here(L"C:\\dc\\"));
  EXPECT_EQ(AddBackslash(Here(L"a/")), Here(L"a/\\"));
  EXPECT_EQ(AddBackslash(L""), Here(L"\\"));
  using Row = std::tuple<Text, Text, Text, Text>;
  for (const auto& [path, name, extension, base] : {
           Row{L"C:\\dc.old\\game.tar.gz", L"game.tar.gz", L"gz", L"C:\\dc.old\\game.tar"},
           Row{L" C:\\dc.old\\game ", L"game", L"old\\game", L" C:\\dc.old\\game "},
           Row{L"C:\\dc\\", L"", L"C:\\dc\\", L"C:\\dc\\"},
           Row{L"C:/dc/.game", L"C:/dc/.game", L"game", L"C:/dc/"},
           Row{L"  C:\\dc\r\n\\ga\nme.elf\t ", L"game.elf\t", L"elf\t", L"C:\\dc\\game"},
       }) {
    EXPECT_EQ(GetFileName(Here(path)), Here(name));
    EXPECT_EQ(GetFileExtension(Here(path)), Here(extension));
    EXPECT_EQ(GetBaseName(Here(path)), Here(base));
  }
}
