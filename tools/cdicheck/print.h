#pragma once

#include <ostream>

#include "cdicheck/check.h"

/// A report for a reader or a script. Texts of the disc that are no UTF-8 count as ISO 8859-1.
namespace cdicheck {

/// Control characters are shown as escapes, so that no name reaches the terminal as a command.
void Print(const Report& report, std::ostream& out);

void PrintJson(const Report& report, std::ostream& out);

}  // namespace cdicheck
