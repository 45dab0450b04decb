#include "files/text.h"

namespace mMain {

Text StripLineBreaks(const Text& text) {
  Text stripped = text;
  std::erase(stripped, L'\n');
  std::erase(stripped, L'\r');
  return stripped;
}

Text TrimSpaces(const Text& text) {
  const std::size_t first = text.find_first_not_of(L' ');
  if (first == Text::npos) return {};
  return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

Text CutAtNul(const Text& text) {
  return text.substr(0, text.find(L'\0'));
}

Text Quote(const Text& text) {
  return L'"' + text + L'"';
}

}  // namespace mMain
