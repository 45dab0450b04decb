#include "cdi/image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "cdi/descriptor.h"
#include "cdi/sector.h"
#include "disc/bytes.h"

namespace cdi {
namespace {

constexpr std::uint64_t LongestDescriptor = 1 << 20;
constexpr std::size_t MostTracks = 99;  // on a disc

/// Reads the blocks of the descriptor, one after the other.
class Reader {
 public:
  explicit Reader(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

  void NextBlock(std::size_t size) {
    if (size > bytes_.size() - next_) throw FormatError("the descriptor ends in the middle of a block");
    block_ = next_;
    next_ += size;
  }

  /// Returns a field of the block, or of the bytes after it.
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
  reader.NextBlock(header::SizeBeforeName);
  reader.NextBlock(reader.Get(header::NameLength));
  reader.NextBlock(header::ShortSizeAfterName);
  if (reader.Get(header::LongMark) == header::LongMarkValue) {
    reader.NextBlock(header::SizeAfterName - header::ShortSizeAfterName);
  }
}

void SkipCdText(Reader& reader) {
  reader.NextBlock(track_block::CdTextBlocks.width);
  const std::uint32_t blocks = reader.Get({0, track_block::CdTextBlocks.width});
  for (std::uint64_t text = 0; text < std::uint64_t{blocks} * track_block::TextsInCdTextBlock; ++text) {
    reader.NextBlock(1);
    reader.NextBlock(reader.Get({0, 1}));
  }
}

/// Returns a field of the track block with its offset from the end of the CD-Text.
constexpr Field AfterCdText(Field field) {
  return {field.offset - track_block::CdTextEnd, field.width};
}

constexpr std::size_t EndAfterCdText(Field field) {
  return AfterCdText(field).offset + field.width;
}

Track ReadTrack(Reader& reader, std::uint32_t session, std::uint32_t version) {
  using namespace track_block;
  Track track{};
  track.session = session;
  SkipHeader(reader);
  reader.NextBlock(IndexCount.width);
  const std::uint32_t indexes = reader.Get(IndexCount);
  reader.NextBlock(indexes * IndexSize);
  for (std::uint32_t i = 0; i < indexes; ++i) {
    (i == 0 ? track.pregap : track.length) += reader.Get({i * IndexSize, IndexSize});
  }
  SkipCdText(reader);

  reader.NextBlock(EndAfterCdText(version == Version2 ? IsrcValid : LongMark));
  const std::uint32_t size = reader.Get(AfterCdText(SectorSize));
  track.mode = reader.Get(AfterCdText(Mode));
  track.total = reader.Get(AfterCdText(TotalLength));
  track.totalAgain = reader.Get(AfterCdText(TotalLengthAgain));
  track.lba =
      std::int64_t{reader.Get(AfterCdText(Start))} + static_cast<std::int64_t>(track.pregap) - FirstFrame;
  track.sectorSize = size < SectorSizes.size() ? SectorSizes[size] : 0;
  const bool isLong =
      version == Version35 || (version == Version3 && reader.Get(AfterCdText(LongMark)) == LongMarkValue);
  reader.NextBlock(isLong ? Size - LongMark.offset - LongMark.width : LastSize);
  return track;
}

/// Determines where each track is in the file. They follow each other.
void PlaceTracks(Image& image) {
  for (Track& track : image.tracks) {
    track.offset = image.tracksEnd + track.pregap * track.sectorSize;
    image.tracksEnd += track.total * track.sectorSize;
    const std::uint64_t end = std::min(image.tracksEnd, image.descriptorOffset);
    if (track.offset < end) track.stored = std::min(track.length, (end - track.offset) / track.sectorSize);
  }
}

/// Returns the offset of the user data in a stored sector.
std::uint64_t UserDataOffset(const Track& track) {
  if (track.sectorSize == UserDataSize) return 0;
  return (track.sectorSize >= RawSectorSize ? SyncAndHeaderSize : 0) +
         (track.mode == track_block::Mode2 ? SubheaderSize : 0);
}

/// Returns the data track that contains the sector. If there are several, it is the last one.
const Track& TrackOf(const Image& image, std::int64_t lba) {
  const auto found = std::find_if(image.tracks.rbegin(), image.tracks.rend(), [&](const Track& track) {
    return track.IsData() && lba >= track.lba && lba < track.lba + static_cast<std::int64_t>(track.stored);
  });
  if (found == image.tracks.rend()) {
    throw OutsideTracks("sector " + std::to_string(lba) + " lies in no data track");
  }
  return *found;
}

}  // namespace

std::vector<std::byte> Source::Bytes(std::uint64_t offset, std::size_t length) const {
  if (offset > size || length > size - offset) throw FormatError("the file ends too early");
  std::vector<std::byte> bytes(length);
  read(offset, bytes);
  return bytes;
}

std::span<const Track> Image::LastSession() const {
  const auto first = std::ranges::find(tracks, sessions - 1, &Track::session);
  return {first, tracks.end()};
}

std::vector<std::byte> Image::UserData(std::int64_t lba, std::size_t length) const {
  std::vector<std::byte> data(length);
  for (std::size_t done = 0; done < length; done += UserDataSize, ++lba) {
    const Track& track = TrackOf(*this, lba);
    const std::uint64_t sector =
        track.offset + static_cast<std::uint64_t>(lba - track.lba) * track.sectorSize;
    source.read(sector + UserDataOffset(track),
                std::span(data).subspan(done, std::min(length - done, UserDataSize)));
  }
  return data;
}

Image ParseImage(const Source& source) {
  if (source.size < file_end::Size) throw FormatError("the file is too short");
  const Reader end(source.Bytes(source.size - file_end::Size, file_end::Size));
  const std::uint32_t version = end.Get(file_end::Version);
  const std::uint32_t place = end.Get(file_end::DescriptorPlace);
  if (version != Version2 && version != Version3 && version != Version35) {
    throw NoDescriptor("no version 2, 3 or 3.5 ends like this");
  }

  if (version == Version35 && place > source.size)
    throw NoDescriptor("the descriptor is longer than the file");
  const std::uint64_t offset = version == Version35 ? source.size - place : place;
  if (offset > source.size || source.size - offset > LongestDescriptor) {
    throw NoDescriptor("the descriptor lies at no possible place");
  }
  Reader reader(source.Bytes(offset, static_cast<std::size_t>(source.size - offset)));

  reader.NextBlock(SessionCount.width);
  const std::uint32_t sessions = reader.Get(SessionCount);
  Image image{.source = source,
              .version = version,
              .sessions = 0,
              .descriptorOffset = offset,
              .tracksEnd = 0,
              .tracks = {}};
  for (std::uint32_t session = 0; session < sessions; ++session) {
    const std::size_t missing = version == Version2 && session > 0 ? 1 : 0;
    reader.NextBlock(session_block::Size - missing);
    const std::uint32_t tracks = reader.Get({session_block::TrackCount.offset - missing, 1});
    if (image.tracks.size() + tracks > MostTracks) {
      throw FormatError("the descriptor tells of more tracks than a disc can have");
    }
    for (std::uint32_t i = 0; i < tracks; ++i) image.tracks.push_back(ReadTrack(reader, session, version));
    if (tracks > 0) image.sessions = session + 1;
  }
  PlaceTracks(image);
  return image;
}

}  // namespace cdi
