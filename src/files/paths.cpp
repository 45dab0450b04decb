#include "files/paths.h"

#include "errors/runtime_error.h"
#include "platform/platform.h"

namespace mMain {
namespace {

Text Clean(const Text& path) {
  return TrimSpaces(StripLineBreaks(path));
}

/// Returns all of `text` if it contains no `mark`, because `npos` plus 1 is 0.
Text TakeAfterLast(wchar_t mark, const Text& text) {
  return text.substr(text.rfind(mark) + 1);
}

template <typename Operation>
void DropErrors(Operation operation, const Text& path) {
  try {
    operation(path);
  } catch (const RuntimeError&) {
    // The run continues. A later step fails if it needed the file to be gone.
  }
}

}  // namespace

Text AddBackslash(const Text& path) {
  return path.ends_with(platform::PathSeparator) ? path : path + platform::PathSeparator;
}

Text GetFileName(const Text& path) {
  return TakeAfterLast(platform::PathSeparator, Clean(path));
}

Text GetFileExtension(const Text& path) {
  return TakeAfterLast(L'.', Clean(path));
}

Text GetBaseName(const Text& path) {
  if (GetFileName(path).find(L'.') == Text::npos) return path;
  const Text cleaned = Clean(path);
  return cleaned.substr(0, cleaned.rfind(L'.'));
}

bool FileExists(const Text& path) {
  return platform::PathExists(path);
}

void ForceDelete(const Text& path) {
  DropErrors(platform::ResetAttributes, path);
  DropErrors(platform::Remove, path);
}

}  // namespace mMain
