#include "run/command_line.h"

#include <cstdint>

#include "errors/runtime_error.h"
#include "platform/platform.h"
#include "run/run_state.h"

namespace mMain {
namespace {

constexpr const wchar_t* OptionMark = L"--";

/// Returns the first position of `what` in `text` from `start` on, counted from 1, or 0.
std::int16_t FindFrom(std::int16_t start, const Text& text, const Text& what) {
  const std::size_t index = text.find(what, static_cast<std::size_t>(start) - 1);
  if (index == Text::npos) return 0;
  return FitInto<std::int16_t>(static_cast<std::int64_t>(index) + 1);
}

}  // namespace

Text ReadCommandLine() {
  Text line = TrimSpaces(StripLineBreaks(platform::RawCommandLine()));
  std::erase(line, L'"');
  return line;
}

Text GetOption(const Text& name) {
  const Text& line = RunState.CommandLine;
  if (line.empty()) return {};

  const std::int16_t found = FindFrom(1, line, name);
  if (found == 0) return {};

  const auto start = FitInto<std::int16_t>(found + static_cast<std::int64_t>(name.size()));
  const Text rest = line.substr(static_cast<std::size_t>(start) - 1);
  if (rest.empty()) return name;
  if (TrimSpaces(rest).starts_with(OptionMark)) return name;

  const std::int16_t stop = FindFrom(start, line, OptionMark);
  if (stop == 0) return TrimSpaces(rest);
  return TrimSpaces(rest.substr(0, static_cast<std::size_t>(stop - start)));
}

}  // namespace mMain
