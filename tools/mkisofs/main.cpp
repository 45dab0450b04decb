#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/program.h"
#include "mkisofs/folder.h"
#include "mkisofs/image.h"
#include "mkisofs/text.h"

namespace {

constexpr std::size_t BootAreaSize = 16 * 2048;
constexpr std::size_t LongestVolumeName = 32;
constexpr std::uint32_t LastSector =
    (99 * 60 + 59) * 75 + 74 - 150;  ///< the last that a disc's addresses reach

struct Arguments {
  std::string bootArea;
  std::vector<std::uint32_t> session;  ///< the sectors that the last and the new session start at
  std::string volumeName;
  std::string iso;
  std::string folder;
};

/// The contents of the file, brought to the size of a boot area.
std::vector<std::byte> ReadBootArea(const std::string& path) {
  const tools::InputFile file(path);
  std::vector<std::byte> area(BootAreaSize);
  const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), BootAreaSize));
  file.ReadAt(0, std::span(area).first(length));
  if (file.Size() != BootAreaSize) {
    std::cerr << "mkisofs: " << path << ": warning: " << file.Size() << " bytes, "
              << (file.Size() < BootAreaSize ? "filled with zeros" : "cut") << " to " << BootAreaSize << '\n';
  }
  return area;
}

std::wstring ReadVolumeName(const std::string& text) {
  const std::wstring name = mkisofs::Wide(text);
  const std::size_t length = mkisofs::Utf8(name).size();
  if (length > LongestVolumeName) {
    throw std::runtime_error("the volume name is too long: \"" + text + "\" takes " + std::to_string(length) +
                             " bytes in UTF-8, more than " + std::to_string(LongestVolumeName));
  }
  return name;
}

void MakeImage(const Arguments& arguments) {
  const std::wstring volumeName = ReadVolumeName(arguments.volumeName);
  const std::vector<std::byte> bootArea = ReadBootArea(arguments.bootArea);
  const std::vector<mkisofs::Entry> entries = mkisofs::ListFolder(arguments.folder);
  const auto contentSize =
      std::accumulate(entries.begin(), entries.end(), std::uint64_t{0},
                      [](std::uint64_t sum, const auto& entry) { return sum + entry.size; });
  mkisofs::Image image(arguments.iso, arguments.session.back(), contentSize);
  for (const auto& entry : entries) image.Add(entry);
  image.Finish(bootArea, volumeName);
}

}  // namespace

const tools::Program tools::Self{.name = "mkisofs", .failureStatus = 1};

int main() {
  CLI::App app(
      "Makes an ISO 9660 image of a folder, with Joliet and Rock Ridge names, for a session of a disc.");
  Arguments arguments;
  app.add_option("-G", arguments.bootArea, "The file to put into the first 16 sectors")
      ->required()
      ->type_name("FILE");
  app.add_option("-C", arguments.session, "The sectors that the last session and the new one start at")
      ->required()
      ->delimiter(',')
      ->expected(2)
      ->check(CLI::Range(std::uint32_t{0}, LastSector))
      ->type_name("LAST,START");
  app.add_flag("-J")->required()->description("With Joliet names, as always");
  app.add_flag("-l")->required()->description("With plain names of up to 31 characters, as always");
  app.add_flag("-r")->required()->description("With Rock Ridge names, for everybody to read, as always");
  app.add_option("-V", arguments.volumeName, "The volume name")->required()->type_name("NAME");
  app.add_option("-o", arguments.iso, "The ISO image to write")->required()->type_name("ISO");
  app.add_option("FOLDER", arguments.folder, "The folder to make an image of")->required();
  return tools::RunProgram(app, mkisofs::SplitCommandLine(::GetCommandLineA()),
                           [&] { MakeImage(arguments); });
}
