#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <numeric>
#include <span>
#include <sstream>
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
  std::uint32_t sessionStart = 0;     ///< the sector of the disc at which the image starts
  std::vector<std::string> excluded;  ///< patterns of names and paths
  std::string volumeName;
  std::string iso;
  std::string folder;
};

/// The second sector of "LAST,START", which are those at which the last and the new session start.
std::uint32_t ReadSessionStart(const std::string& text) {
  std::istringstream stream(text);
  std::int64_t last = -1;
  std::int64_t start = -1;
  char comma = 0;
  stream >> last >> comma >> start;
  const auto isSector = [](std::int64_t sector) { return 0 <= sector && sector <= LastSector; };
  if (!stream || !stream.eof() || comma != ',' || !isSector(last) || !isSector(start)) {
    throw CLI::ValidationError("-C", "\"" + text + "\" is not two sectors from 0 to " +
                                         std::to_string(LastSector) + ", such as 0,11702");
  }
  return static_cast<std::uint32_t>(start);
}

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
  std::vector<std::wstring> excluded;
  std::ranges::transform(arguments.excluded, std::back_inserter(excluded), mkisofs::Wide);
  const std::vector<mkisofs::Entry> entries = mkisofs::ListFolder(arguments.folder, excluded);
  const auto contentSize =
      std::accumulate(entries.begin(), entries.end(), std::uint64_t{0},
                      [](std::uint64_t sum, const auto& entry) { return sum + entry.size; });
  mkisofs::Image image(arguments.iso, arguments.sessionStart, contentSize);
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
  app.add_option("-m", arguments.excluded, "Leave out files and folders whose name or path matches")
      ->allow_extra_args(false)
      ->type_name("PATTERN");
  app.add_option_function<std::string>(
         "-C", [&](const std::string& text) { arguments.sessionStart = ReadSessionStart(text); },
         "The sectors at which the last session and the new one start")
      ->required()
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
