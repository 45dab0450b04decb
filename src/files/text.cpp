#include "files/text.h"

namespace mMain {

Text TrimSpaces(const Text& text) {
  const std::size_t first = text.find_first_not_of(L' ');
  if (first == Text::npos) return {};
  return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

Text CutAtNul(const Text& text) {
  return text.substr(0, text.find(L'\0'));
}

Text Quoted(const Text& text) {
  return L'"' + text + L'"';
}

}  // namespace mMain
