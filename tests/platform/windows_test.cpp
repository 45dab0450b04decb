#include <windows.h>

#include <commdlg.h>
#include <shlobj.h>

#include <cstring>

#include "dialogs/folder_browser.h"
#include "dialogs/save_dialog.h"
#include "support.h"

using namespace platform;
using namespace std::string_literals;
using Words = std::vector<std::uint32_t>;

/// The arguments of the last call, and its result.
static Words record;
static std::string texts, answer;
static const wchar_t* commandLine;

/// Stands for an address in a record. The test compares what is there as text.
constexpr std::uint32_t Address = 0xADD2E55;

/// Returns the words of a record, with `Address` in place of the addresses, which must not be null.
static Words WordsOf(const void* bytes, std::size_t size, const std::vector<std::size_t>& addresses = {}) {
  const auto* first = static_cast<const std::uint32_t*>(bytes);
  Words words(first, first + size / sizeof *first);
  for (const std::size_t at : addresses) words[at] = words[at] != 0 ? Address : 0;
  return words;
}

static BOOL WINAPI StartTool(LPCSTR application, LPSTR line, LPSECURITY_ATTRIBUTES process,
                             LPSECURITY_ATTRIBUTES thread, BOOL inherits, DWORD flags, LPVOID environment,
                             LPCSTR folder, LPSTARTUPINFOA startup, LPPROCESS_INFORMATION) {
  record = WordsOf(startup, 68);
  texts = line;
  EXPECT_TRUE(inherits == 1 && flags == 32);
  EXPECT_FALSE(application || process || thread || environment || folder);
  return FALSE;
}

static BOOL WINAPI AskForName(OPENFILENAMEA* dialog) {
  record = WordsOf(dialog, 76, {3, 7, 9, 12, 15});
  texts = std::string(dialog->lpstrFilter, 47) + std::string(dialog->lpstrFile, 255) +
          std::string(dialog->lpstrFileTitle, 255) + dialog->lpstrTitle + dialog->lpstrDefExt;
  std::strcpy(dialog->lpstrFile, answer.c_str());
  ::SetCurrentDirectoryA("\\");
  return !answer.empty();
}

static LPITEMIDLIST WINAPI AskForPlace(BROWSEINFOA* dialog) {
  record = WordsOf(dialog, 32, {3});
  texts = dialog->lpszTitle;
  return answer.empty() ? nullptr : static_cast<ITEMIDLIST*>(::CoTaskMemAlloc(16));
}

static LPCWSTR WINAPI ReturnLine() { return commandLine; }

static BOOL WINAPI ReturnPath(LPCITEMIDLIST, LPSTR path) { return std::strcpy(path, answer.c_str()) == path; }

// The platform layer calls Windows through these symbols. Because the test defines them, the linker does not
// take them from the import libraries, and each call reaches a function of the test.
#define IMPORTED(symbol, function)                              \
  extern "C" void* imported##function asm(symbol); /* NOLINT */ \
  void* imported##function = reinterpret_cast<void*>(function)
IMPORTED("__imp__CreateProcessA@40", StartTool);
IMPORTED("__imp__GetSaveFileNameA@4", AskForName);
IMPORTED("__imp__SHBrowseForFolderA@4", AskForPlace);
IMPORTED("__imp__SHGetPathFromIDListA@8", ReturnPath);
IMPORTED("__imp__GetCommandLineW@0", ReturnLine);

TEST(Records, ForTheStartOfATool) {
  for (const std::uint32_t style : {0U, 1U}) {
    StartAndWait(L"\"C:\\a b\\tool.exe\" \"caf\u00E9\"", static_cast<int>(style));
    EXPECT_EQ(texts, "\"C:\\a b\\tool.exe\" \"caf\xE9\"");
    EXPECT_EQ(record, Words({68, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, style, 0, 0, 0, 0}));
  }
}

TEST(RawCommandLine, BeginsAfterTheNameOfTheProgram) {
  for (const auto& [line, rest] : {
           std::pair(L"\"C:\\a b\\x.exe\" --help", L" --help"),
           {L"\"C:\\a b\"\\x.exe --help", L" --help"},
           {L"C:\\\"a b\"\\x.exe\t--cdi \"g\u0101me\"", L"\t--cdi \"g\u0101me\""},
           {L"\"C:\\a b\\x.exe", L""},
           {L"x", L""},
       }) {
    commandLine = line;
    EXPECT_EQ(RawCommandLine(), rest);
  }
}

TEST(Records, ForTheSaveDialog) {
  const std::string blanks = std::string(254, ' ') + '\0';
  const auto module = reinterpret_cast<std::uint32_t>(::GetModuleHandleA(nullptr));
  const auto folder = std::filesystem::current_path();
  for (const std::string& path : {""s, "C:\\caf\xE9\\x.cdi"s, "C:\\" + std::string(251, 'n')}) {
    answer = path;
    mMain::OptionalPath target = L"before";
    mComDlg::ShowSaveDialog(target, L"DiscJuggler|*.cdi", L"", L"Save...", mComDlg::FileMustExist);
    EXPECT_EQ(target.has_value(), !path.empty());
    EXPECT_EQ(ToBytes(target.value_or(L"")), path);
    EXPECT_EQ(record, Words({76, 0, module, Address, 0, 0, 0, Address, 255, Address, 255, 0, Address, 0x1000,
                             0, Address, 0, 0, 0}));
    EXPECT_EQ(std::filesystem::current_path(), folder) << "which the dialog changes";
    EXPECT_EQ(texts, "DiscJuggler (*.cdi)\0*.cdi\0All files (*.*)\0*.*\0\0"s + blanks + blanks + "Save...");
  }
}

TEST(Records, ForTheFolderBrowser) {
  for (const std::string& path : {""s, "C:\\caf\xE9 "s, std::string(255, 'p'), std::string(256, 'p')}) {
    answer = path;
    mMain::OptionalPath target = L"before";
    mComDlg::BrowseForFolder(target, L"Choose...");
    EXPECT_EQ(target.has_value(), !path.empty());
    EXPECT_EQ(ToBytes(target.value_or(L"")), path.size() <= 255 ? path : "");
    EXPECT_EQ(record, Words({0, 0, 0, Address, 1, 0, 0, 0}));
    EXPECT_EQ(texts, "Choose...");
  }
}

TEST_F(Files, RaiseErrorsForABadNameALockAndAMoveOntoItself) {
  EXPECT_EQ(ErrorOf([] { Open(L"a|b?"); }), 52);
  std::ofstream(std::filesystem::path(L"g\u0101me.elf")) << "a letter that the code page lacks";
  EXPECT_EQ(ErrorOf([] { Open(FirstMatch(L"*.elf").value()); }), 52);
  const HANDLE lock = ::CreateFileA("locked", GENERIC_READ, 0, nullptr, CREATE_NEW, 0, nullptr);
  EXPECT_EQ(ErrorOf([] { Open(L"locked"); }), 70);
  ::CloseHandle(lock);
  std::ofstream("IP.BIN") << "x";
  EXPECT_EQ(ErrorOf([] { Move(L"IP.BIN", L"ip.bin"); }), 58) << "onto itself";
}
