#include <gtest/gtest.h>

#include "dialogs/save_dialog.h"
#include "errors/runtime_error.h"

namespace mComDlg {
namespace {

using namespace std::string_literals;

const Text AllFiles = L"All files (*.*)\0*.*\0"s;

TEST(SaveDialog, FilterListHasTheGivenPairsFirst) {
  EXPECT_EQ(BuildFilterList(L""), AllFiles);
  EXPECT_EQ(BuildFilterList(L"DiscJuggler|*.cdi"), L"DiscJuggler (*.cdi)\0*.cdi\0"s + AllFiles);
  EXPECT_EQ(BuildFilterList(L"A|*.a|B|*.b"), L"A (*.a)\0*.a\0B (*.b)\0*.b\0"s + AllFiles);
  EXPECT_THROW(BuildFilterList(L"DiscJuggler"), RuntimeError);
}

TEST(SaveDialog, ValuesOfTheRecord) {
  const platform::SaveDialog named = FillSaveDialog(L"", L"C:\\a.b\\game.cdi", L"t", 0);
  EXPECT_EQ(named.fileBuffer, L"game.cdi" + Text(246, L' '));
  EXPECT_EQ(named.defaultExtension, L"cdi");
  EXPECT_NO_THROW(FillSaveDialog(L"", Text(254, L'n'), L"t", 0));
  EXPECT_THROW(FillSaveDialog(L"", Text(255, L'n'), L"t", 0), RuntimeError);
}

}  // namespace
}  // namespace mComDlg
