#include "mkisofs/pattern.h"

#include <windows.h>

#include <cstddef>
#include <string_view>

namespace mkisofs {
namespace {

constexpr wchar_t Separator = L'/';

wchar_t Fold(wchar_t character) {
  if (character == L'\\') return Separator;
  ::CharUpperBuffW(&character, 1);
  return character;
}

/// The length of the set that `pattern` starts with, its brackets included, or 0 if it starts with none. A
/// "]" that comes first is a character of the set.
std::size_t SetLength(std::wstring_view pattern) {
  if (!pattern.starts_with(L'[')) return 0;
  const bool isNegated = pattern.size() > 1 && (pattern[1] == L'!' || pattern[1] == L'^');
  return pattern.find(L']', isNegated ? 3 : 2) + 1;
}

bool IsInSet(std::wstring_view set, wchar_t character) {
  set = set.substr(1, set.size() - 2);
  const bool isNegated = set.starts_with(L'!') || set.starts_with(L'^');
  bool found = false;
  for (std::size_t i = isNegated ? 1 : 0; i < set.size(); ++i) {
    const wchar_t first = Fold(set[i]);
    if (i + 2 < set.size() && set[i + 1] == L'-') i += 2;
    found |= first <= character && character <= Fold(set[i]);
  }
  return found != isNegated;
}

}  // namespace

bool Matches(std::wstring_view pattern, std::wstring_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == L'*') {
    if (Matches(pattern.substr(1), text)) return true;
    return !text.empty() && Fold(text[0]) != Separator && Matches(pattern, text.substr(1));
  }
  if (text.empty()) return false;

  const wchar_t character = Fold(text[0]);
  std::size_t length = SetLength(pattern);
  bool matches = false;
  if (length > 0) {
    matches = character != Separator && IsInSet(pattern.substr(0, length), character);
  } else {
    length = 1;
    matches = pattern[0] == L'?' ? character != Separator : Fold(pattern[0]) == character;
  }
  return matches && Matches(pattern.substr(length), text.substr(1));
}

}  // namespace mkisofs
