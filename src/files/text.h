#pragma once

#include <string>

/// Every text inside the system is wide. Only the platform layer converts it.
using Text = std::wstring;

namespace mMain {

/// Returns `text` without line feeds and carriage returns.
Text StripLineBreaks(const Text& text);

/// Returns `text` without the spaces (code 32) at both ends. Tabs and all other characters stay.
Text TrimSpaces(const Text& text);

/// Returns `text` up to its first NUL, which is what a host reads of a path.
Text CutAtNul(const Text& text);

/// Returns `text` between double quotes, for a tool's command line. Nothing is escaped.
Text Quote(const Text& text);

}  // namespace mMain
