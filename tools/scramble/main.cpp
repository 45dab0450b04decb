#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "common/files.h"
#include "common/program.h"
#include "common/threads.h"
#include "scramble/permutation.h"

namespace {

/// The chunks of a file, for more than one thread.
class SharedChunks {
 public:
  explicit SharedChunks(std::size_t fileLength) : chunks_(fileLength) {}

  std::optional<scramble::Chunk> Next() {
    const std::lock_guard lock(mutex_);
    return chunks_.Next();
  }

 private:
  std::mutex mutex_;
  scramble::Chunks chunks_;
};

/// Converts chunks, each the next that no other thread has taken, until none is left. Two buffers that stay
/// in the cache do for a file of any length.
void ConvertChunks(const tools::InputFile& in, tools::OutputFile& out, SharedChunks& chunks, bool inverse) {
  std::vector<std::byte> inBytes;
  std::vector<std::byte> outBytes;
  while (const auto chunk = chunks.Next()) {
    inBytes.resize(chunk->length);
    outBytes.resize(chunk->length);
    in.ReadAt(chunk->offset, inBytes);
    if (inverse) {
      scramble::Unscramble(*chunk, inBytes.data(), outBytes.data());
    } else {
      scramble::Scramble(*chunk, inBytes.data(), outBytes.data());
    }
    out.WriteAt(chunk->offset, outBytes);
  }
}

void ConvertFile(const std::string& inPath, const std::string& outPath, bool inverse) {
  const tools::InputFile in(inPath);
  if (!std::in_range<std::size_t>(in.Size())) throw tools::FileError(inPath, "too large for a boot file");
  tools::OutputFile out(outPath);
  out.Reserve(in.Size());
  SharedChunks chunks(static_cast<std::size_t>(in.Size()));
  tools::OnTwoThreads([&] { ConvertChunks(in, out, chunks, inverse); });
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
