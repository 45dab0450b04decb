#pragma once

#include <ostream>

#include "cdicheck/check.h"

/// Prints a report. Texts of the disc that are not valid UTF-8 are read as ISO 8859-1.
namespace cdicheck {

/// For a reader. Control characters become escapes, so that a name cannot control the terminal.
void Print(const Report& report, std::ostream& out);

/// For a script.
void PrintJson(const Report& report, std::ostream& out);

}  // namespace cdicheck
