#include <cstddef>
#include <cstdint>
#include <iostream>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "cdi/descriptor.h"
#include "cdi/parse.h"
#include "cdicheck/check.h"
#include "common/files.h"
#include "common/program.h"

namespace {

using nlohmann::json;

const char* ModeName(std::uint32_t mode) {
  switch (mode) {
    case cdi::track_block::Audio:
      return "audio";
    case cdi::track_block::Mode1:
      return "data, Mode 1";
    case cdi::track_block::Mode2:
      return "data, Mode 2";
    default:
      return "unknown";
  }
}

const char* SeverityName(cdicheck::Severity severity) {
  return severity == cdicheck::Severity::Error ? "error" : "warning";
}

std::string VersionName(std::uint32_t version) {
  return version == cdi::Version2 ? "2" : version == cdi::Version3 ? "3" : "3.5";
}

void Print(const cdicheck::Report& report) {
  if (report.image) {
    std::cout << "DiscJuggler image, version " << VersionName(report.image->version) << ", "
              << report.image->sessions << " sessions\n";
    for (const cdi::Track& track : report.image->tracks) {
      std::cout << "  session " << track.session + 1 << ": " << ModeName(track.mode) << ", " << track.length
                << " sectors of " << track.sectorSize << " bytes from LBA " << track.start << '\n';
    }
  }
  if (!report.bootHeader.empty()) std::cout << "Boot header\n";
  for (const cdicheck::HeaderField& field : report.bootHeader) {
    std::cout << "  " << field.name << ": " << field.text << '\n';
  }
  if (report.volume) {
    std::cout << "Volume \"" << report.volume->name << "\"\n";
    for (const cdicheck::FileEntry& file : report.volume->files) {
      std::cout << "  " << file.path << "  " << file.size << " bytes\n";
    }
  }
  if (report.problems.empty()) std::cout << "No problems found.\n";
  for (const cdicheck::Problem& problem : report.problems) {
    std::cout << SeverityName(problem.severity) << ": " << problem.text << '\n';
  }
}

void PrintJson(const cdicheck::Report& report) {
  json all{{"tracks", json::array()},
           {"bootHeader", json::object()},
           {"files", json::array()},
           {"problems", json::array()}};
  if (report.image) {
    all["version"] = VersionName(report.image->version);
    all["sessions"] = report.image->sessions;
    for (const cdi::Track& track : report.image->tracks) {
      all["tracks"].push_back({{"session", track.session + 1},
                               {"mode", ModeName(track.mode)},
                               {"start", track.start},
                               {"length", track.length},
                               {"sectorSize", track.sectorSize}});
    }
  }
  for (const cdicheck::HeaderField& field : report.bootHeader) all["bootHeader"][field.name] = field.text;
  if (report.volume) {
    all["volume"] = report.volume->name;
    for (const cdicheck::FileEntry& file : report.volume->files) {
      all["files"].push_back({{"path", file.path}, {"size", file.size}});
    }
  }
  for (const cdicheck::Problem& problem : report.problems) {
    all["problems"].push_back({{"severity", SeverityName(problem.severity)}, {"text", problem.text}});
  }
  // What is no UTF-8 in a header or a name is replaced.
  std::cout << all.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
}

}  // namespace

const tools::Program tools::Self{.name = "cdicheck", .failureStatus = 2};

int main(int argc, char** argv) {
  CLI::App app(
      "Tells what is on a DiscJuggler image, and whether it will boot. "
      "Exit status: 0 without problems, 1 with some, 2 if it is no image.");
  std::string path;
  bool asJson = false;
  int status = 0;
  app.add_flag("--json", asJson, "Print the report as JSON");
  app.add_option("IMAGE.cdi", path, "The image to check")->required();
  const int failed = tools::RunProgram(app, argc, argv, [&] {
    const tools::InputFile file(path);
    const cdi::Source source{
        file.Size(), [&](std::uint64_t offset, std::span<std::byte> buffer) { file.ReadAt(offset, buffer); }};
    try {
      const cdicheck::Report report = cdicheck::Check(source);
      asJson ? PrintJson(report) : Print(report);
      status = report.problems.empty() ? 0 : 1;
    } catch (const cdi::FormatError& error) {
      std::cerr << "cdicheck: " << path << ": no DiscJuggler image: " << error.what() << '\n';
      status = 2;
    }
  });
  return failed != 0 ? failed : status;
}
