#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Text of this program's code page, as Windows gives it to programs, and of the names in a folder.
namespace mkisofs {

std::wstring Wide(std::string_view text);

/// With a "?" for what the code page lacks.
std::string Narrow(std::wstring_view text);

std::string Utf8(std::wstring_view text);

/// The arguments on a program's command line. A quote always begins or ends a group, and no backslash
/// protects it: whoever puts a path in quotes may end it in a backslash, and no path holds a quote.
std::vector<std::string> SplitCommandLine(std::string_view line);

}  // namespace mkisofs
