#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>
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

  bool Next(scramble::Chunk& chunk) {
    const std::lock_guard lock(mutex_);
    return chunks_.Next(chunk);
  }

 private:
  std::mutex mutex_;
  scramble::Chunks chunks_;
};

/// What is read or written at a time on the scrambled side, where everything comes in order.
constexpr std::size_t PieceLength = std::size_t{128} * 1024;

/// Converts chunks, each the next that no other thread has taken, until none is left.
void ConvertChunks(const tools::InputFile& in, tools::OutputFile& out, SharedChunks& chunks, bool inverse) {
  const auto plain = std::make_unique_for_overwrite<std::byte[]>(scramble::LargestChunk);
  std::vector<std::byte> buffer(PieceLength);
  scramble::Chunk chunk;
  while (chunks.Next(chunk)) {
    const std::span wholePlain(plain.get(), chunk.length);
    if (!inverse) in.ReadAt(chunk.offset, wholePlain);
    for (std::size_t at = 0; at < chunk.length; at += PieceLength) {
      const auto piece = std::span(buffer).first(std::min(PieceLength, chunk.length - at));
      if (inverse) {
        in.ReadAt(chunk.offset + at, piece);
        scramble::Unscramble(chunk, at, piece, plain.get());
      } else {
        scramble::Scramble(chunk, plain.get(), at, piece);
        out.WriteAt(chunk.offset + at, piece);
      }
    }
    if (inverse) out.WriteAt(chunk.offset, wholePlain);
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
