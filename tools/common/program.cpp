#include "common/program.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "version.h"

namespace tools {
namespace {

constexpr const char* OutOfMemory = "out of memory";

/// Prints the reason on standard error and returns the exit status. Allocates nothing.
int ReportFailure(const char* reason) {
  std::cerr << Self.name << ": " << reason << '\n';
  return Self.failureStatus;
}

/// Ends the program if an allocation fails before its work begins, because nobody would catch the exception.
/// Runs before the argument parser creates its static objects.
[[gnu::constructor(101)]] void EndWithoutMemory() {
  std::set_new_handler([] {
    std::fprintf(stderr, "%s: %s\n", Self.name, OutOfMemory);  // std::cerr may not exist yet
    std::_Exit(Self.failureStatus);
  });
}

/// Returns the place of the first file name among `arguments`, after the options and their values.
auto FindFirstOperand(const CLI::App& app, const std::vector<std::string>& arguments) {
  auto place = arguments.begin();
  while (place != arguments.end() && place->starts_with('-') && *place != "--") {
    const CLI::Option* option = app.get_option_no_throw(*place++);
    const bool hasValue = option != nullptr && option->get_items_expected_max() > 0;
    if (hasValue && place != arguments.end()) ++place;
  }
  return place;
}

}  // namespace

int RunProgram(CLI::App& app, std::vector<std::string> arguments, const std::function<void()>& work) {
  app.name(Self.name);
  app.set_version_flag("--version", app.get_name() + " " + ProductVersion);
  app.allow_windows_style_options(false);
  // Options come first: everything after the first file name is a file name, even if it begins with "-".
  const auto operand = FindFirstOperand(app, arguments);
  if (operand != arguments.end() && *operand != "--") arguments.insert(operand, "--");
  std::ranges::reverse(arguments);  // the parser expects them in this order
  try {
    app.parse(arguments);
    std::set_new_handler(nullptr);  // from here on, destructors close files and remove part files
    work();
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    // An unexpected argument is the first reason, because it can be why others are missing.
    std::vector<std::string> unexpected = app.remaining();
    std::erase(unexpected, "--");
    app.exit(unexpected.empty() ? error : CLI::ExtrasError({unexpected.front()}));
    return Self.failureStatus;
  } catch (const std::bad_alloc&) {
    return ReportFailure(OutOfMemory);
  } catch (const std::exception& error) {
    return ReportFailure(error.what());
  }
}

int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& work) {
  return RunProgram(app, std::vector<std::string>(argv + 1, argv + argc), work);
}

}  // namespace tools
