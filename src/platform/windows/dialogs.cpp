#include <windows.h>

#include <commdlg.h>
#include <shlobj.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "platform/platform.h"
#include "platform/windows/encoding.h"

namespace platform {
namespace {

using windows::FromAnsi;
using windows::ToAnsi;

using OpenFileName = OPENFILENAME_NT4A;

static_assert(sizeof(OpenFileName) == 76);
static_assert(sizeof(BROWSEINFOA) == 32);

/// What a folder's path may take, its NUL included.
constexpr std::size_t FolderPathSize = 256;

std::wstring CurrentFolder() {
  std::wstring folder(::GetCurrentDirectoryW(0, nullptr), L'\0');
  folder.resize(::GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
  return folder;
}

}  // namespace

void ShowMessage(const Text& text, int style) {
  ::MessageBoxA(nullptr, ToAnsi(text).c_str(), "", static_cast<UINT>(style));
}

std::optional<Text> AskForFolder(const Text& title) {
  std::string caption = ToAnsi(title);
  BROWSEINFOA browse{};
  browse.lpszTitle = ::lstrcatA(caption.data(), "");
  browse.ulFlags = BIF_RETURNONLYFSDIRS;
  const std::unique_ptr<ITEMIDLIST, decltype(&::CoTaskMemFree)> list(::SHBrowseForFolderA(&browse),
                                                                     ::CoTaskMemFree);
  if (list == nullptr) return std::nullopt;

  // The call may fill MAX_PATH; one more is the end.
  std::array<char, MAX_PATH + 1> path{};
  ::SHGetPathFromIDListA(list.get(), path.data());
  const std::string_view whole(path.data());
  return FromAnsi(whole.size() < FolderPathSize ? whole : std::string_view());
}

std::optional<Text> AskForFileToSave(const SaveDialog& dialog) {
  const std::string filter = ToAnsi(dialog.filterList);
  const std::string title = ToAnsi(dialog.title);
  const std::string extension = ToAnsi(dialog.defaultExtension);
  std::string file = ToAnsi(dialog.fileBuffer);
  std::string fileTitle = ToAnsi(dialog.fileTitle);
  file.resize(dialog.fileBuffer.size());
  fileTitle.resize(dialog.fileTitle.size());

  OpenFileName record{};
  record.lStructSize = sizeof record;
  record.hInstance = ::GetModuleHandleA(nullptr);
  record.lpstrFilter = filter.c_str();
  record.lpstrFile = file.data();
  record.nMaxFile = static_cast<DWORD>(file.size() + 1);
  record.lpstrFileTitle = fileTitle.data();
  record.nMaxFileTitle = static_cast<DWORD>(fileTitle.size() + 1);
  record.lpstrTitle = title.c_str();
  record.Flags = dialog.flags;
  record.lpstrDefExt = extension.c_str();
  const std::wstring folder = CurrentFolder();
  // The older, shorter record: its size tells the call which one it got.
  const bool isConfirmed = ::GetSaveFileNameA(reinterpret_cast<OPENFILENAMEA*>(&record)) != FALSE;
  ::SetCurrentDirectoryW(folder.c_str());  // the dialog changes to the folder that the user opens
  if (!isConfirmed) return std::nullopt;
  return FromAnsi(file);
}

}  // namespace platform
