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

/// Reads the arguments that `app` declares and does `work`. Gives the exit status: 0, or that of a failure
/// with the reason on standard error.
inline int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& work) {
  app.name(Self.name);
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

}  // namespace tools
