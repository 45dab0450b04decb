#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "common/self.h"

namespace tools {

/// Reads the arguments that `app` declares and calls `work`. Returns the exit status: 0, or that of a failure
/// after printing the reason on standard error. Raises nothing.
int RunProgram(CLI::App& app, std::vector<std::string> arguments, const std::function<void()>& work);
int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& work);

}  // namespace tools
