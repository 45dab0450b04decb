#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "cdi/image.h"
#include "cdicheck/check.h"
#include "cdicheck/print.h"
#include "cdicheck/problems.h"
#include "common/files.h"
#include "common/program.h"
#include "common/progress.h"

const tools::Program tools::Self{.name = "cdicheck", .failureStatus = 2};

namespace {

/// Returns the empty text for the identifier of a problem, and otherwise an error message.
std::string RefuseUnknownId(const std::string& id) {
  std::string known;
  for (const cdicheck::ProblemKind& kind : cdicheck::ProblemKinds) {
    if (id == kind.id) return {};
    known += std::string("\n  ") + kind.id;
  }
  return "unknown problem \"" + id + "\". These are known:" + known;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // writing to a closed pipe fails instead
#endif
  CLI::App app(
      "Shows what is on a DiscJuggler image and whether it will boot. "
      "Exit status: 0 without errors, 1 with errors, 2 if the file is not an image or cannot be read.");
  std::string path;
  bool asJson = false;
  bool strict = false;
  std::vector<std::string> ignored;
  int status = 0;
  app.add_flag("--json", asJson, "Print the report as JSON");
  app.add_flag("--strict", strict, "Count warnings as errors");
  app.add_option("--ignore", ignored, "Do not report this problem (can be repeated)")
      ->expected(1)
      ->take_all()
      ->type_name("ID")
      ->check(RefuseUnknownId);
  app.add_option("IMAGE.cdi", path, "The image to check")->required();
  const int failed = tools::RunProgram(app, argc, argv, [&] {
    const tools::InputFile file(path);
    const cdi::Source source{
        file.Size(), [&](std::uint64_t offset, std::span<std::byte> buffer) { file.ReadAt(offset, buffer); }};
    cdicheck::Report report;
    try {
      std::optional<tools::Progress> progress;
      std::once_flag isStarted;
      report = cdicheck::Check(source, [&](std::size_t count, std::uint64_t total) {
        std::call_once(isStarted, [&] { progress.emplace(total); });
        progress->Add(count);
      });
      std::erase_if(report.problems, [&](const cdicheck::Problem& problem) {
        return std::ranges::find(ignored, problem.id) != ignored.end();
      });
      status = std::ranges::any_of(report.problems, [&](const cdicheck::Problem& problem) {
        return strict || problem.severity == cdicheck::Severity::Error;
      });
    } catch (const cdi::FormatError& error) {
      report.problems = {cdicheck::Describe("not-an-image", {error.what()})};
      if (!asJson) throw tools::FileError(path, report.problems.front().text);
      status = 2;
    }
    asJson ? cdicheck::PrintJson(report, std::cout) : cdicheck::Print(report, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the report could not be written");
  });
  return failed != 0 ? failed : status;
}
