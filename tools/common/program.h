#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "version.h"

namespace tools {

/// Reads the arguments that `app` declares and does `work`. Gives the exit status: 0, or 1 with the reason on
/// standard error.
inline int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& work) {
  app.set_version_flag("--version", app.get_name() + " " + ProductVersion);
  app.allow_windows_style_options(false);
  // Options stand in front: what follows the first file name is a file name, whatever it begins with.
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const auto firstFile =
      std::ranges::find_if(arguments, [](const auto& text) { return !text.starts_with('-'); });
  if (firstFile != arguments.end() && std::find(arguments.begin(), firstFile, "--") == firstFile) {
    arguments.insert(firstFile, "--");
  }
  std::ranges::reverse(arguments);  // the order in which the parser takes them
  try {
    app.parse(arguments);
    work();
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << app.get_name() << ": " << error.what() << '\n';
    return 1;
  }
}

}  // namespace tools
