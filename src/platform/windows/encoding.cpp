#include "platform/windows/encoding.h"

#include <windows.h>

#include "platform/platform.h"

namespace platform {
namespace windows {

std::string ToAnsi(const Text& text) {
  // UTF-8, which may be the code page too, takes no such wishes, and needs none.
  const bool holdsAll = ::GetACP() == CP_UTF8;
  const DWORD flags = holdsAll ? 0 : WC_NO_BEST_FIT_CHARS;
  const char* replacement = holdsAll ? nullptr : "?";
  const int length = static_cast<int>(text.size());
  const int needed =
      ::WideCharToMultiByte(CP_ACP, flags, text.data(), length, nullptr, 0, replacement, nullptr);
  std::string bytes(static_cast<std::size_t>(needed), '\0');
  ::WideCharToMultiByte(CP_ACP, flags, text.data(), length, bytes.data(), needed, replacement, nullptr);
  return bytes;
}

Text FromAnsi(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  const int needed = ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, nullptr, 0);
  Text text(static_cast<std::size_t>(needed), L'\0');
  ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text.data(), needed);
  return text;
}

}  // namespace windows

const wchar_t PathSeparator = L'\\';

// One by one: in a code page with characters of two bytes, a field still has one byte for each.

std::string ToBytes(const Text& text) {
  std::string bytes;
  for (const wchar_t c : text) {
    const std::string encoded = windows::ToAnsi(Text(1, c));
    bytes += encoded.size() == 1 ? encoded[0] : '?';
  }
  return bytes;
}

Text FromBytes(const std::string& bytes) {
  Text text;
  for (const char byte : bytes) {
    const Text decoded = windows::FromAnsi({&byte, 1});
    text += decoded.size() == 1 ? decoded[0] : L'?';
  }
  return text;
}

Text UpperCase(const Text& text) {
  Text upper = text;
  ::CharUpperBuffW(upper.data(), static_cast<DWORD>(upper.size()));
  return upper;
}

}  // namespace platform
