#include <gtest/gtest.h>

#include "dialogs/folder_browser.h"
#include "dialogs/save_dialog.h"
#include "fake_platform.h"

namespace mComDlg {
namespace {

using fake::host;
using mMain::OptionalPath;
using namespace std::string_literals;

const Text AllFiles = L"All files (*.*)\0*.*\0"s;

TEST(SaveDialog, FilterListHasTheGivenPairsFirst) {
  EXPECT_EQ(FilterList(L""), AllFiles);
  EXPECT_EQ(FilterList(L"DiscJuggler|*.cdi"), L"DiscJuggler (*.cdi)\0*.cdi\0"s + AllFiles);
  EXPECT_EQ(FilterList(L"A|*.a|B|*.b"), L"A (*.a)\0*.a\0B (*.b)\0*.b\0"s + AllFiles);
  EXPECT_THROW(FilterList(L"DiscJuggler"), RuntimeError);
}

TEST(SaveDialog, ValuesOfTheRecord) {
  const platform::SaveDialog empty = SaveDialogFor(L"", L"", L"t", FileMustExist);
  EXPECT_EQ(empty.fileBuffer, Text(254, L' '));
  EXPECT_EQ(empty.fileTitle, Text(254, L' '));
  EXPECT_EQ(empty.defaultExtension, L"");
  EXPECT_EQ(empty.flags, 0x1000U);

  const platform::SaveDialog named = SaveDialogFor(L"", L"C:\\a.b\\game.cdi", L"t", 0);
  EXPECT_EQ(named.fileBuffer, L"game.cdi" + Text(246, L' '));
  EXPECT_EQ(named.defaultExtension, L"cdi");
  EXPECT_NO_THROW(SaveDialogFor(L"", Text(254, L'n'), L"t", 0));
  EXPECT_THROW(SaveDialogFor(L"", Text(255, L'n'), L"t", 0), RuntimeError);
}

TEST(SaveDialog, DeliversThePathAloneOrUnsetsTheTarget) {
  fake::Reset();
  OptionalPath target = L"before";
  host.savedFile = L"C:\\my games\\x.cdi"s + L'\0' + Text(200, L' ');
  ShowSaveDialog(target, L"", L"", L"Save...", 0);
  EXPECT_EQ(target, L"C:\\my games\\x.cdi");
  EXPECT_EQ(host.dialog->title, L"Save...");

  host.savedFile.reset();
  ShowSaveDialog(target, L"", L"", L"Save...", 0);
  EXPECT_FALSE(target.has_value());
}

TEST(FolderBrowser, RemovesNulsAndKeepsSpaces) {
  fake::Reset();
  OptionalPath target = L"before";
  host.chosenFolder = L"C:\\dc "s + Text(249, L'\0');
  BrowseForFolder(target, L"Choose...");
  EXPECT_EQ(target, L"C:\\dc ");
  host.chosenFolder = Text(256, L'\0');
  BrowseForFolder(target, L"Choose...");
  EXPECT_EQ(target, L"");
  host.chosenFolder.reset();
  BrowseForFolder(target, L"Choose...");
  EXPECT_FALSE(target.has_value());
}

}  // namespace
}  // namespace mComDlg
