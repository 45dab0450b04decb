#include "files/paths.h"

#include "errors/runtime_error.h"
#include "platform/platform.h"
#include "run/command_line.h"

namespace mMain {
namespace {

Text Cleaned(const Text& path) {
  return TrimSpaces(StripLineBreaks(path));
}

/// `npos` plus 1 is 0: without a `mark`, all of `text` stands behind it.
Text BehindLast(wchar_t mark, const Text& text) {
  return text.substr(text.rfind(mark) + 1);
}

template <typename Operation>
void DroppingErrors(Operation operation, const Text& path) {
  try {
    operation(path);
  } catch (const RuntimeError&) {
    // The run goes on with the file as it is: whoever needed it gone finds out by what comes next.
  }
}

}  // namespace

Text AddBackslash(const Text& path) {
  return path.ends_with(platform::PathSeparator) ? path : path + platform::PathSeparator;
}

Text GetFileName(const Text& path) {
  return BehindLast(platform::PathSeparator, Cleaned(path));
}

Text GetFileExtension(const Text& path) {
  return BehindLast(L'.', Cleaned(path));
}

Text GetBaseName(const Text& path) {
  if (GetFileName(path).find(L'.') == Text::npos) return path;
  const Text cleaned = Cleaned(path);
  return cleaned.substr(0, cleaned.rfind(L'.'));
}

bool FileExists(const Text& path) {
  return platform::PathExists(path);
}

void ForceDelete(const Text& path) {
  DroppingErrors(platform::ResetAttributes, path);
  DroppingErrors(platform::Remove, path);
}

}  // namespace mMain
