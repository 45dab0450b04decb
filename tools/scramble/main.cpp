#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "common/files.h"
#include "common/program.h"
#include "scramble/permutation.h"

namespace {

/// Closes the file at its end. Windows does not replace an open file, and the output may be the input.
std::vector<std::byte> ReadWhole(const std::string& path) {
  const tools::InputFile in(path);
  if (!std::in_range<std::ptrdiff_t>(in.Size())) throw tools::FileError(path, "too large for a boot file");
  std::vector<std::byte> bytes(static_cast<std::size_t>(in.Size()));
  in.ReadAt(0, bytes);
  return bytes;
}

void ConvertFile(const std::string& inPath, const std::string& outPath, bool inverse) {
  const std::vector<std::byte> bytes = ReadWhole(inPath);
  std::vector<std::byte> converted(bytes.size());
  inverse ? scramble::Unscramble(bytes, converted) : scramble::Scramble(bytes, converted);
  tools::OutputFile out(outPath);
  out.WriteAt(0, converted);
  out.Commit();
}

}  // namespace

const tools::Program tools::Self{.name = "scramble", .failureStatus = 1};

int main(int argc, char** argv) {
  CLI::App app("Brings a Dreamcast boot file into scrambled form, as the console reads it from a CD.");
  std::string in;
  std::string out;
  bool inverse = false;
  app.add_flag("-d", inverse, "The inverse: make a plain file of a scrambled one");
  app.add_option("IN", in, "The file to read")->required();
  app.add_option("OUT", out, "The file to write")->required();
  return tools::RunProgram(app, argc, argv, [&] { ConvertFile(in, out, inverse); });
}
