#include "files/paths.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace mMain;

TEST(Paths, SeparatorNameExtensionAndBaseName) {
  EXPECT_EQ(AddBackslash(L"C:\\dc\\"), L"C:\\dc\\");
  EXPECT_EQ(AddBackslash(L""), L"\\");
  using Row = std::tuple<Text, Text, Text, Text>;
  for (const auto& [path, name, extension, base] : {
           Row{L"C:\\dc.old\\game.tar.gz", L"game.tar.gz", L"gz", L"C:\\dc.old\\game.tar"},
           Row{L" C:\\dc.old\\game ", L"game", L"old\\game", L" C:\\dc.old\\game "},
           Row{L"C:\\dc\\", L"", L"C:\\dc\\", L"C:\\dc\\"},
           Row{L"C:/dc/.game", L"C:/dc/.game", L"game", L"C:/dc/"},
           Row{L"  C:\\dc\r\n\\ga\nme.elf\t ", L"game.elf\t", L"elf\t", L"C:\\dc\\game"},
       }) {
    EXPECT_EQ(GetFileName(path), name);
    EXPECT_EQ(GetFileExtension(path), extension);
    EXPECT_EQ(GetBaseName(path), base);
  }
}
