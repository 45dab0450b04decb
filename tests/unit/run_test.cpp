#include "run/main.h"

#include <gtest/gtest.h>

#include "fake_platform.h"

namespace mMain {
namespace {

using fake::host;

const Text Usage =
    L"[0] Marrowvane 0.1\r\nUsage: marrowvan.exe [--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] "
    L"[--coder <your_name>]";

using Texts = std::vector<Text>;

TEST(Run, EndsWithTheUsageMessageAloneAndTouchesNothing) {
  struct Row {
    Text line;
    std::optional<Text> folder, file;
    int status;
    Texts dialogs;
  };
  const Text browse = L"browse Choose the folder to selfboot...";
  const Row rows[] = {
      {L"--help --dir C:\\dc --cdi C:\\x.cdi", L"", L"", 0, {}},
      {L"--dir C:\\a--help", L"", L"", 0, {}},
      {L"--dir C:\\none --cdi C:\\x.cdi", L"", L"", 1, {}},
      {L"--dir", L"", L"C:\\x.cdi", 1, {L"save dialog"}},
      {L"--dir C:\\dc", L"", std::nullopt, 1, {L"save dialog"}},
      {L"", std::nullopt, L"C:\\x.cdi", 1, {browse}},
      {L"--dir \"\"", std::nullopt, L"C:\\x.cdi", 1, {browse}},
      {L"", L"C:\\dc", std::nullopt, 1, {browse, L"save dialog"}},
      {L"", L"", L"C:\\x.cdi", 1, {browse, L"save dialog"}},
      {L"--cdi C:\\x.cdi", std::nullopt, std::nullopt, 1, {browse}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row.line));
    fake::Reset(row.line);
    host.folders = {L"C:\\dc"};
    host.chosenFolder = row.folder;
    host.savedFile = row.file;
    EXPECT_EQ(fake::Run(), row.status);
    EXPECT_EQ(host.messages, Texts{Usage});
    Texts expected{L"command line"};
    expected.insert(expected.end(), row.dialogs.begin(), row.dialogs.end());
    expected.emplace_back(L"message");
    EXPECT_EQ(host.trace, expected);
  }
}

TEST(Run, UsageShowsTheExecutablesPresentName) {
  fake::Reset(L"--help");
  host.executable = L"x.EXE";
  fake::Run();
  EXPECT_NE(host.messages.at(0).find(L"\r\nUsage: x.exe [--cdi"), Text::npos);
}

TEST(ReportRuntimeError, KnownErrorsNeedTheirDescriptionToTheLetter) {
  struct Row {
    std::int32_t number;
    Text description;
    Texts messages;
  };
  const Row rows[] = {
      {6, L"Overflow", {L"[0] Integer overflow."}},
      {6, L"Overflow ", {}},
      {53, L"File not found: zlib.dll", {L"[0] Please install zlib and try again."}},
      {53, L"File not found", {}},
      {70, L"Permission denied", {L"[0] File locked by another application"}},
      {70, L"permission denied", {}},
      {75, L"Path/File access error", {L"[0] Cannot read/write file - Already in use"}},
      {58, L"File already exists", {L"[0] Run-time error: '58'\r\n\r\nFile already exists"}},
      {-5, L"", {L"[0] Run-time error: '-5'\r\n\r\n"}},
      {76, L"Path not found", {L"[0] Run-time error: '76'\r\n\r\nPath not found"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.number);
    fake::Reset(L"--dir C:\\dc --cdi C:\\x.cdi");
    host.folders = {L"C:\\dc"};
    host.files[L"C:\\dc\\1ST_READ.BIN"] = {"?"};
    host.raised = {row.number, row.description};
    host.raiseAt = 1;
    EXPECT_EQ(fake::Run(), 1);
    EXPECT_EQ(host.messages, row.messages);
  }
}

TEST(ReportRuntimeError, LibraryExceptionIsMemoryRunningOut) {
  fake::Reset(L"--dir C:\\dc --cdi C:\\x.cdi");
  host.folders = {L"C:\\dc"};
  host.files[L"C:\\dc\\1ST_READ.BIN"] = {"?"};
  host.tool = [](const Text&) { throw std::length_error(""); };
  EXPECT_EQ(fake::Run(), 1);
  EXPECT_EQ(host.messages, Texts{L"[0] Run-time error: '7'\r\n\r\nOut of memory"});
}

}  // namespace
}  // namespace mMain
