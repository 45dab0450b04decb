#include "mkisofs/text.h"

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace mkisofs {
namespace {

std::string Encode(std::wstring_view text, UINT codePage) {
  std::string bytes(text.size() * 4, '\0');
  bytes.resize(static_cast<std::size_t>(
      ::WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr)));
  return bytes;
}

}  // namespace

std::wstring Wide(std::string_view text) {
  std::wstring characters(text.size(), L'\0');
  characters.resize(static_cast<std::size_t>(
      ::MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), characters.data(),
                            static_cast<int>(characters.size()))));
  return characters;
}

std::string Narrow(std::wstring_view text) {
  return Encode(text, CP_ACP);
}

std::string Utf8(std::wstring_view text) {
  return Encode(text, CP_UTF8);
}

std::vector<std::string> SplitCommandLine(std::string_view line) {
  std::vector<std::string> words;
  bool quoted = false;
  bool inWord = false;
  for (const char character : line) {
    const bool isBlank = character == ' ' || character == '\t';
    if (isBlank && !quoted) {
      inWord = false;
      continue;
    }
    if (!inWord) words.emplace_back();
    inWord = true;
    if (character == '"') {
      quoted = !quoted;
    } else {
      words.back() += character;
    }
  }
  if (!words.empty()) words.erase(words.begin());  // the program itself
  return words;
}

}  // namespace mkisofs
