#pragma once

#include <string>

/// Every text inside the system is wide; the platform layer converts it where it meets the host.
using Text = std::wstring;

namespace mMain {

/// `text` without its line feeds and carriage returns; what stood around them joins up.
Text StripLineBreaks(const Text& text);

/// `text` without the spaces (code 32) at both ends. Tabs and all other characters stay.
Text TrimSpaces(const Text& text);

/// `text` in front of its first NUL, which is as far as a host reads a path.
Text CutAtNul(const Text& text);

/// `text` between double quotes, as a path stands on a tool's command line. Nothing is escaped.
Text Quote(const Text& text);

}  // namespace mMain
