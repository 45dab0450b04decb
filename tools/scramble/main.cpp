#include <memory>

#include "common/files.h"
#include "common/program.h"
#include "scramble/permutation.h"

namespace {

void ConvertFile(const std::string& inPath, const std::string& outPath, bool inverse) {
  tools::InputFile in(inPath);
  const auto size = static_cast<std::size_t>(in.Size());
  const auto inBytes = std::make_unique_for_overwrite<std::byte[]>(size);
  const auto outBytes = std::make_unique_for_overwrite<std::byte[]>(size);
  in.ReadAt(0, {inBytes.get(), size});
  (inverse ? scramble::Unscramble : scramble::Scramble)({inBytes.get(), size}, {outBytes.get(), size});

  tools::OutputFile out(outPath);
  out.Reserve(size);
  out.WriteAt(0, {outBytes.get(), size});
  out.Commit();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Brings a Dreamcast boot file into scrambled form, as the console reads it from a CD.",
               "scramble");
  std::string in;
  std::string out;
  bool inverse = false;
  app.add_flag("-d", inverse, "The inverse: make a plain file of a scrambled one");
  app.add_option("IN", in, "The file to read")->required();
  app.add_option("OUT", out, "The file to write")->required();
  return tools::RunProgram(app, argc, argv, [&] { ConvertFile(in, out, inverse); });
}
