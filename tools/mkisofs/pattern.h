#pragma once

#include <string_view>

namespace mkisofs {

/// Returns true if all of `text`, a name or a path, matches the shell pattern: "*" and "?" match any
/// characters but a separator, "[a-z]" one of a set and "[!a-z]" one outside it. Both separators are equal,
/// and so are capitals and small letters, as in the names of this host.
bool Matches(std::wstring_view pattern, std::wstring_view text);

}  // namespace mkisofs
