#include "dialogs/save_dialog.h"

#include <cstddef>
#include <vector>

#include "errors/runtime_error.h"
#include "files/paths.h"

namespace mComDlg {
namespace {

constexpr std::size_t BufferLength = 254;

std::vector<Text> SplitAtBars(const Text& text) {
  std::vector<Text> pieces;
  std::size_t start = 0;
  for (std::size_t bar = text.find(L'|'); bar != Text::npos; bar = text.find(L'|', start)) {
    pieces.push_back(text.substr(start, bar - start));
    start = bar + 1;
  }
  pieces.push_back(text.substr(start));
  return pieces;
}

Text BuildFileBuffer(const Text& initialName) {
  Text name = mMain::GetFileName(initialName);
  if (name.size() > BufferLength) throw InvalidCall;
  name.resize(BufferLength, L' ');
  return name;
}

}  // namespace

Text BuildFilterList(const Text& filter) {
  const Text allFiles = L"All files|*.*";
  const std::vector<Text> pieces = SplitAtBars(filter.empty() ? allFiles : filter + L"|" + allFiles);
  if (pieces.size() % 2 != 0) throw SubscriptOutOfRange;

  Text list;
  for (std::size_t i = 0; i < pieces.size(); i += 2) {
    list += pieces[i] + L" (" + pieces[i + 1] + L")" + L'\0' + pieces[i + 1] + L'\0';
  }
  return list;
}

platform::SaveDialog FillSaveDialog(const Text& filter, const Text& initialName, const Text& title,
                                    std::uint32_t flags) {
  return {.filterList = BuildFilterList(filter),
          .fileBuffer = BuildFileBuffer(initialName),
          .fileTitle = Text(BufferLength, L' '),
          .title = title,
          .defaultExtension = mMain::GetFileExtension(initialName),
          .flags = flags};
}

void ShowSaveDialog(mMain::OptionalPath& target, const Text& filter, const Text& initialName,
                    const Text& title, std::uint32_t flags) {
  target = platform::AskForFileToSave(FillSaveDialog(filter, initialName, title, flags));
  if (!target) return;
  std::erase(*target, L'\0');
  target = mMain::TrimSpaces(*target);
}

}  // namespace mComDlg
