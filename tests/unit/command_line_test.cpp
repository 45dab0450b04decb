#include "run/command_line.h"

#include <gtest/gtest.h>

#include "fake_platform.h"
#include "run/run_state.h"

namespace mMain {
namespace {

void Read(const Text& raw) {
  fake::Reset(raw);
  RunState.CommandLine = ReadCommandLine();
}

/// What the five options hold, those that are empty left out: "--dir=a;--cdi=x;".
Text Options(const Text& raw) {
  Read(raw);
  Text all;
  for (const wchar_t* name : {L"--help", L"--dir", L"--cdi", L"--cdvol", L"--coder"}) {
    if (const Text value = GetOption(name); !value.empty()) all += Text(name) + L"=" + value + L";";
  }
  return all;
}

TEST(GetOption, AnswersByTheGrammarOfTheLine) {
  struct Row {
    Text raw, options;
  };
  const Row rows[] = {
      {L"", L""},
      {L"--help", L"--help=--help;"},
      {L"--helpme", L"--help=me;"},
      {L"--dir C:\\DC\\game --cdi C:\\out\\game.cdi", L"--dir=C:\\DC\\game;--cdi=C:\\out\\game.cdi;"},
      {L"--dir \"C:\\My Games\\g\" --cdi \"D:\\out put.cdi\"",
       L"--dir=C:\\My Games\\g;--cdi=D:\\out put.cdi;"},
      {L"--dir C:\\My Games\\g --cdi D:\\out put.cdi", L"--dir=C:\\My Games\\g;--cdi=D:\\out put.cdi;"},
      {L"--dir \"C:\\a\\\" --cdi \"D:\\x.cdi\"", L"--dir=C:\\a\\;--cdi=D:\\x.cdi;"},
      {L"--cdi C:\\a--b\\x.cdi --dir C:\\dc", L"--dir=C:\\dc;--cdi=C:\\a;"},
      {L"--dir", L"--dir=--dir;"},
      {L"--dir --cdi x.cdi", L"--dir=--dir;--cdi=x.cdi;"},
      {L"--dir \"\" --cdi x.cdi", L"--dir=--dir;--cdi=x.cdi;"},
      {L"--dir \"\"", L""},
      {L"--help \"\"", L""},
      {L"--dir-- x", L"--dir=--dir;"},
      {L"--dir - x", L"--dir=- x;"},
      {L"--DIR C:\\a", L""},
      {L"--dir=C:\\a", L"--dir==C:\\a;"},
      {L"--coder --cdvol X", L"--cdvol=X;--coder=--coder;"},
      {L"--cdvol my--cdi x", L"--cdi=x;--cdvol=my;"},
      {L"--cdvol my--dir --dir C:\\x", L"--dir=--dir;--cdvol=my;"},
      {L"  --dir   a   b  ", L"--dir=a   b;"},
      {L"--dir\tC:\\a", L"--dir=\tC:\\a;"},
      {L"--dir C:\\a\r\n--cdi x", L"--dir=C:\\a;--cdi=x;"},
      {L"--d\"ir\" x", L"--dir=x;"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Options(row.raw), row.options) << ::testing::PrintToString(row.raw);
  }
}

TEST(GetOption, PositionsAreSigned16BitNumbers) {
  const auto filler = [](std::size_t length) { return Text(length, L'x'); };
  // The name ends at 32766, so that the first position behind it is the last one there is.
  EXPECT_EQ(Options(filler(32761) + L"--dir y"), L"--dir=y;");
  Read(filler(32762) + L"--dir y");
  EXPECT_THROW(GetOption(L"--dir"), RuntimeError);
  // The two dashes that end the value stand at 32767, then at 32768.
  EXPECT_EQ(Options(L"--dir " + filler(32759) + L" --x"), L"--dir=" + filler(32759) + L";");
  Read(L"--dir " + filler(32760) + L" --x");
  EXPECT_THROW(GetOption(L"--dir"), RuntimeError);
  EXPECT_EQ(Options(L"--dir " + filler(70000)), L"--dir=" + filler(70000) + L";");
}

}  // namespace
}  // namespace mMain
