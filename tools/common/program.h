#pragma once

#include "common/failure.h"
// Behind it, since the library makes objects of its own before `main`.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "version.h"

namespace tools {

/// Where the first file name stands among `arguments`: behind the options and their values.
inline auto FindFirstFile(const CLI::App& app, const std::vector<std::string>& arguments) {
  auto place = arguments.begin();
  while (place != arguments.end() && place->starts_with('-') && *place != "--") {
    const CLI::Option* option = app.get_option_no_throw(*place++);
    const bool hasValue = option != nullptr && option->get_items_expected_max() > 0;
    if (hasValue && place != arguments.end()) ++place;
  }
  return place;
}

/// Reads the arguments that `app` declares and does `work`. Gives the exit status: 0, or that of a failure
/// with the reason on standard error.
inline int RunProgram(CLI::App& app, std::vector<std::string> arguments, const std::function<void()>& work) {
  app.name(Self.name);
  app.set_version_flag("--version", app.get_name() + " " + ProductVersion);
  app.allow_windows_style_options(false);
  // Options stand in front: what follows the first file name is a file name, whatever it begins with.
  const auto firstFile = FindFirstFile(app, arguments);
  if (firstFile != arguments.end() && *firstFile != "--") arguments.insert(firstFile, "--");
  std::ranges::reverse(arguments);  // the order in which the parser takes them
  try {
    app.parse(arguments);
    std::set_new_handler(nullptr);  // what is open from here on must be put away
    work();
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : Self.failureStatus;
  } catch (const std::bad_alloc&) {
    return Failure(OutOfMemory);
  } catch (const std::exception& error) {
    return Failure(error.what());
  }
}

inline int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& work) {
  return RunProgram(app, std::vector<std::string>(argv + 1, argv + argc), work);
}

}  // namespace tools
