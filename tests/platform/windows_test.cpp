#include <windows.h>

#include <commdlg.h>
#include <gtest/gtest.h>
#include <shlobj.h>

#include <cstring>
#include <functional>

#include "dialogs/folder_browser.h"
#include "dialogs/save_dialog.h"
#include "platform_test.h"
#include "run/main.h"

// The imports that the platform layer calls through, under the names that the linker knows them by: defined
// here, they take the place of those of the import libraries, and each call reaches a function of the test.
// NOLINTBEGIN(bugprone-reserved-identifier)
#define INTERPOSED(function, size)                                        \
  extern "C" void* imported##function asm("__imp__" #function "@" #size); \
  void* imported##function = nullptr

INTERPOSED(CreateProcessA, 40);
INTERPOSED(WaitForSingleObject, 8);
INTERPOSED(GetSaveFileNameA, 4);
INTERPOSED(SHBrowseForFolderA, 4);
INTERPOSED(SHGetPathFromIDListA, 8);
// NOLINTEND(bugprone-reserved-identifier)

namespace platform {
namespace {

void* RealOne(const char* library, const char* function) {
  return reinterpret_cast<void*>(::GetProcAddress(::LoadLibraryA(library), function));
}

/// The library of the tests waits for objects and starts processes as well.
const bool realOnesAreBack = [] {
  importedWaitForSingleObject = RealOne("kernel32.dll", "WaitForSingleObject");
  importedCreateProcessA = RealOne("kernel32.dll", "CreateProcessA");
  return true;
}();

std::string Bytes32(std::initializer_list<std::uint32_t> words) {
  std::string bytes;
  for (const std::uint32_t word : words) bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
  return bytes;
}

struct ProcessCall {
  std::string line, startup;
  BOOL inherits;
  DWORD flags;
  bool nullElsewhere;
} processCall;

BOOL WINAPI RecordProcess(LPCSTR application, LPSTR line, LPSECURITY_ATTRIBUTES process,
                          LPSECURITY_ATTRIBUTES thread, BOOL inherits, DWORD flags, LPVOID environment,
                          LPCSTR folder, LPSTARTUPINFOA startup, LPPROCESS_INFORMATION information) {
  const char zeros[sizeof *information] = {};
  processCall = {line, std::string(reinterpret_cast<const char*>(startup), 68), inherits, flags,
                 application == nullptr && process == nullptr && thread == nullptr &&
                     environment == nullptr && folder == nullptr &&
                     std::memcmp(information, zeros, sizeof zeros) == 0};
  return FALSE;
}

TEST(StartAndWait, FillsTheRecordByteForByte) {
  importedCreateProcessA = reinterpret_cast<void*>(RecordProcess);
  for (const std::uint32_t style : {0U, 1U}) {
    StartAndWait(L"\"C:\\a b\\tool.exe\" \"caf\u00E9\"", static_cast<int>(style));
    EXPECT_EQ(processCall.line, "\"C:\\a b\\tool.exe\" \"caf\xE9\"");
    EXPECT_EQ(processCall.startup, Bytes32({68, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, style, 0, 0, 0, 0}));
    EXPECT_EQ(processCall.inherits, 1);
    EXPECT_EQ(processCall.flags, 32U);
    EXPECT_TRUE(processCall.nullElsewhere);
  }
  importedCreateProcessA = RealOne("kernel32.dll", "CreateProcessA");
}

TEST(StartAndWait, WaitsForTheEndAndReturnsAtOnceWithoutATool) {
  const Scratch scratch;
  const std::string out = (scratch / "out").string();
  StartAndWait(L"cmd.exe /c \"ping -n 2 127.0.0.1 >nul & echo done>" + Text(out.begin(), out.end()) + L"\"",
               0);
  EXPECT_TRUE(std::filesystem::exists(out));
  StartAndWait(L"\"C:\\no such tool.exe\" x", 1);
}

/// A 76-byte record and what its pointers led to when the dialog was called.
struct SaveCall {
  std::string record, filter, file, title, caption, extension;
  std::string answer;  ///< empty: a cancel
} saveCall;

BOOL WINAPI AnswerSave(OPENFILENAMEA* record) {
  saveCall.record.assign(reinterpret_cast<const char*>(record), 76);
  saveCall.filter.assign(record->lpstrFilter, 47);
  saveCall.file.assign(record->lpstrFile, 255);
  saveCall.title.assign(record->lpstrFileTitle, 255);
  saveCall.caption = record->lpstrTitle;
  saveCall.extension = record->lpstrDefExt;
  std::memcpy(record->lpstrFile, saveCall.answer.c_str(), saveCall.answer.size() + 1);
  return saveCall.answer.empty() ? FALSE : TRUE;
}

TEST(SaveDialog, FillsTheRecordByteForByteAndReadsItsBuffer) {
  importedGetSaveFileNameA = reinterpret_cast<void*>(AnswerSave);
  const std::string longest = "C:\\" + std::string(251, 'n');
  for (const std::string& answer : {std::string(), std::string("C:\\my caf\xE9\\x.cdi"), longest}) {
    saveCall.answer = answer;
    mMain::OptionalPath target = L"before";
    mComDlg::ShowSaveDialog(target, L"DiscJuggler|*.cdi", L"", L"Save...", mComDlg::FileMustExist);
    EXPECT_EQ(target.has_value(), !answer.empty());
    EXPECT_EQ(ToBytes(target.value_or(L"")), answer);
    const auto pointer = [](std::size_t at) {
      return *reinterpret_cast<const std::uint32_t*>(&saveCall.record[at]);
    };
    const auto module = reinterpret_cast<std::uint32_t>(::GetModuleHandleA(nullptr));
    EXPECT_EQ(saveCall.record, Bytes32({76, 0, module, pointer(12), 0, 0, 0, pointer(28), 255, pointer(36),
                                        255, 0, pointer(48), 0x1000, 0, pointer(60), 0, 0, 0}));
    EXPECT_NE(module, 0U);
    EXPECT_EQ(saveCall.filter, std::string("DiscJuggler (*.cdi)\0*.cdi\0All files (*.*)\0*.*\0\0", 47));
    EXPECT_EQ(saveCall.file, std::string(254, ' ') + '\0');
    EXPECT_EQ(saveCall.title, std::string(254, ' ') + '\0');
    EXPECT_EQ(saveCall.caption, "Save...");
    EXPECT_EQ(saveCall.extension, "");
  }
}

std::string browseRecord, browseCaption, chosenPath;
ITEMIDLIST* chosenList = nullptr;

LPITEMIDLIST WINAPI AnswerBrowse(BROWSEINFOA* record) {
  browseRecord.assign(reinterpret_cast<const char*>(record), 32);
  browseCaption = record->lpszTitle;
  return chosenList;
}

BOOL WINAPI AnswerPath(LPCITEMIDLIST list, LPSTR path) {
  EXPECT_EQ(list, chosenList);
  EXPECT_EQ(std::string(path, MAX_PATH), std::string(MAX_PATH, '\0'));
  std::memcpy(path, chosenPath.c_str(), chosenPath.size() + 1);
  return !chosenPath.empty();
}

TEST(FolderBrowser, FillsTheRecordByteForByteAndAcceptsWhatFits) {
  importedSHBrowseForFolderA = reinterpret_cast<void*>(AnswerBrowse);
  importedSHGetPathFromIDListA = reinterpret_cast<void*>(AnswerPath);
  mMain::OptionalPath target = L"before";
  mComDlg::BrowseForFolder(target, L"Choose...");
  EXPECT_FALSE(target.has_value());
  const auto caption = *reinterpret_cast<const std::uint32_t*>(&browseRecord[12]);
  EXPECT_EQ(browseRecord, Bytes32({0, 0, 0, caption, 1, 0, 0, 0}));
  EXPECT_EQ(browseCaption, "Choose...");

  const std::string longest(255, 'p');
  for (const std::string& path :
       {std::string("C:\\caf\xE9 "), longest, longest + "p", longest + "pppp", std::string()}) {
    chosenPath = path;
    chosenList = static_cast<ITEMIDLIST*>(::CoTaskMemAlloc(16));
    mComDlg::BrowseForFolder(target, L"Choose...");
    EXPECT_EQ(ToBytes(target.value_or(L"unset")), path.size() <= 255 ? path : "");
  }
}

TEST(Files, LockedFileIsPermissionDeniedAndAReadOnlyOneAnAccessError) {
  const Scratch scratch;
  const std::string path = (scratch / "IP.BIN").string();
  const HANDLE lock = ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  EXPECT_EQ(Raised([&] { Open(Wide(path)); }), 70);
  ::CloseHandle(lock);
  ::SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(Raised([&] { Open(Wide(path)); }), 75);
  ::SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(Raised([&] { Open(Wide(scratch / "a|b?")); }), 52);
}

TEST(Files, HiddenAndSystemFilesNeverMatch) {
  const Scratch scratch;
  WriteFile(scratch / "a.elf", "");
  for (const DWORD attribute : {FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM}) {
    ::SetFileAttributesA((scratch / "a.elf").string().c_str(), static_cast<DWORD>(attribute));
    if ((::GetFileAttributesA((scratch / "a.elf").string().c_str()) & static_cast<DWORD>(attribute)) == 0) {
      GTEST_SKIP() << "this file system keeps no such attribute";
    }
    EXPECT_EQ(FirstMatch(Wide(scratch / "*.elf")), std::nullopt);
  }
  ::SetFileAttributesA((scratch / "a.elf").string().c_str(), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(FirstMatch(Wide(scratch / "*.ELF")), L"a.elf") << "whatever the case";
}

TEST(Text, OneByteForEachCharacterOfTheCodePage) {
  ASSERT_EQ(::GetACP(), 1252U);
  EXPECT_EQ(ToBytes(L"A\u00E9\u20AC\u0101z"), "A\xE9\x80?z");
  EXPECT_EQ(FromBytes("A\xE9\x80"), L"A\u00E9\u20AC");
  EXPECT_EQ(UpperCase(L"a\u00E9\u00DF.elf"), L"A\u00C9\u00DF.ELF");
  EXPECT_TRUE(TempFolder().ends_with(L'\\'));
}

}  // namespace
}  // namespace platform
