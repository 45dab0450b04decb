#include "cdi/parse.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "cdi/descriptor.h"
#include "disc/bytes.h"

namespace cdi {
namespace {

constexpr std::uint64_t LongestDescriptor = 1 << 20;
constexpr std::size_t MostTracks = 99;  // on a disc

/// In version 2 a track block ends 12 bytes behind this field, and a session block has no zero in front.
constexpr std::size_t TrackSizeVersion2 = track_block::IsrcValid.offset + track_block::IsrcValid.width + 12;

/// A block of the descriptor, one after the other.
class Reader {
 public:
  explicit Reader(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

  void NextBlock(std::size_t size) {
    if (size > bytes_.size() - next_) throw FormatError("the descriptor ends in the middle of a block");
    block_ = next_;
    next_ += size;
  }

  /// A field of the block, or of what follows it.
  std::uint32_t Get(Field field) const {
    if (field.offset + field.width > bytes_.size() - block_)
      throw FormatError("the descriptor ends within a field");
    return disc::ReadNumber(std::span(bytes_).subspan(block_), field);
  }

 private:
  std::vector<std::byte> bytes_;
  std::size_t block_ = 0;
  std::size_t next_ = 0;
};

void SkipHeader(Reader& reader) {
  reader.NextBlock(header::SizeInFront);
  reader.NextBlock(reader.Get(header::NameLength));
  reader.NextBlock(header::ShortSizeBehind);
  if (reader.Get(header::LongMark) == header::LongMarkValue) {
    reader.NextBlock(header::SizeBehind - header::ShortSizeBehind);
  }
}

Track ReadTrack(Reader& reader, std::uint32_t session, std::uint32_t version) {
  SkipHeader(reader);
  reader.NextBlock(version == Version2 ? TrackSizeVersion2 : track_block::Size);
  if (reader.Get(track_block::IndexCount) != 2) throw FormatError("a track has other than two index lengths");
  if (reader.Get(track_block::CdTextBlocks) != 0)
    throw FormatError("a track has CD-Text, which is not read here");
  const std::uint32_t size = reader.Get(track_block::SectorSize);
  return {.session = session,
          .mode = reader.Get(track_block::Mode),
          .pregap = reader.Get(track_block::Pregap),
          .length = reader.Get(track_block::Length),
          .total = reader.Get(track_block::TotalLength),
          .start = reader.Get(track_block::Start),
          .sectorSize = size < track_block::SectorSizes.size() ? track_block::SectorSizes[size] : 0,
          .offset = 0};
}

}  // namespace

std::vector<std::byte> Source::Bytes(std::uint64_t offset, std::size_t length) const {
  if (offset > size || length > size - offset) throw FormatError("the file ends too early");
  std::vector<std::byte> bytes(length);
  read(offset, bytes);
  return bytes;
}

Image ParseImage(const Source& source) {
  if (source.size < file_end::Size) throw FormatError("the file is too short");
  const Reader end(source.Bytes(source.size - file_end::Size, file_end::Size));
  const std::uint32_t version = end.Get(file_end::Version);
  const std::uint32_t place = end.Get(file_end::DescriptorPlace);
  if (version != Version2 && version != Version3 && version != Version35) {
    throw NoDescriptor("no DiscJuggler image of version 2, 3 or 3.5 ends like this");
  }

  if (version == Version35 && place > source.size)
    throw NoDescriptor("the descriptor is longer than the file");
  const std::uint64_t offset = version == Version35 ? source.size - place : place;
  if (offset > source.size || source.size - offset > LongestDescriptor) {
    throw NoDescriptor("the descriptor lies at no possible place");
  }
  Reader reader(source.Bytes(offset, static_cast<std::size_t>(source.size - offset)));

  reader.NextBlock(SessionCount.width);
  Image image{.version = version,
              .sessions = reader.Get(SessionCount),
              .descriptorOffset = offset,
              .tracksEnd = 0,
              .tracks = {}};
  for (std::uint32_t session = 0; session < image.sessions; ++session) {
    const std::size_t missing = version == Version2 && session > 0 ? 1 : 0;
    reader.NextBlock(session_block::Size - missing);
    const std::uint32_t tracks = reader.Get({session_block::TrackCount.offset - missing, 1});
    if (image.tracks.size() + tracks > MostTracks) {
      throw FormatError("the descriptor tells of more tracks than a disc can have");
    }
    for (std::uint32_t i = 0; i < tracks; ++i) {
      Track track = ReadTrack(reader, session, version);
      track.offset = image.tracksEnd + std::uint64_t{track.pregap} * track.sectorSize;
      image.tracksEnd += std::uint64_t{track.total} * track.sectorSize;
      image.tracks.push_back(track);
    }
  }
  return image;
}

}  // namespace cdi
