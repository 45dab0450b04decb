#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>

#include "cdi/image.h"
#include "cdicheck/check.h"
#include "cdicheck/print.h"
#include "cdicheck/problems.h"
#include "common/files.h"
#include "common/program.h"

const tools::Program tools::Self{.name = "cdicheck", .failureStatus = 2};

int main(int argc, char** argv) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // writing to a closed pipe fails instead
#endif
  CLI::App app(
      "Tells what is on a DiscJuggler image, and whether it will boot. "
      "Exit status: 0 without problems, 1 with some, 2 if it is no image or on a failure.");
  std::string path;
  bool asJson = false;
  int status = 0;
  app.add_flag("--json", asJson, "Print the report as JSON");
  app.add_option("IMAGE.cdi", path, "The image to check")->required();
  const int failed = tools::RunProgram(app, argc, argv, [&] {
    const tools::InputFile file(path);
    const cdi::Source source{
        file.Size(), [&](std::uint64_t offset, std::span<std::byte> buffer) { file.ReadAt(offset, buffer); }};
    cdicheck::Report report;
    try {
      report = cdicheck::Check(source);
      status = report.problems.empty() ? 0 : 1;
    } catch (const cdi::FormatError& error) {
      report.problems = {cdicheck::Describe(cdicheck::problems::NoImage, {error.what()})};
      if (!asJson) throw tools::FileError(path, report.problems.front().text);
      status = 2;
    }
    asJson ? cdicheck::PrintJson(report, std::cout) : cdicheck::Print(report, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the report could not be written");
  });
  return failed != 0 ? failed : status;
}
