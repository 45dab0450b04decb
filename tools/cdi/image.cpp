#include "cdi/image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
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

/// Reads the blocks of the descriptor, one after the other, and notes values that no known program writes.
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

  void Expect(Field field, std::uint32_t value) {
    if (!unusual_ && Get(field) != value) unusual_ = block_ + field.offset;
  }

  void ExpectAtMost(Field field, std::uint32_t value) {
    if (!unusual_ && Get(field) > value) unusual_ = block_ + field.offset;
  }

  /// Returns the offset of the first unusual value from the start of the descriptor.
  std::optional<std::uint64_t> Unusual() const { return unusual_; }

 private:
  std::vector<std::byte> bytes_;
  std::optional<std::uint64_t> unusual_;
  std::size_t block_ = 0;
  std::size_t next_ = 0;
};

void SkipHeader(Reader& reader) {
  reader.NextBlock(header::SizeBeforeName);
  for (const FieldValue& mark : header::Mark)
    reader.Expect(mark.field, static_cast<std::uint32_t>(mark.value));
  reader.NextBlock(reader.Get(header::NameLength));
  reader.NextBlock(header::ShortSizeAfterName);
  if (reader.Get(header::LongMark) == header::LongMarkValue) {
    reader.NextBlock(header::SizeAfterName - header::ShortSizeAfterName);
  }
}

/// Returns true if there is any.
bool SkipCdText(Reader& reader) {
  reader.NextBlock(track_block::CdTextBlocks.width);
  const std::uint32_t blocks = reader.Get({0, track_block::CdTextBlocks.width});
  for (std::uint64_t text = 0; text < std::uint64_t{blocks} * track_block::TextsInCdTextBlock; ++text) {
    reader.NextBlock(1);
    reader.NextBlock(reader.Get({0, 1}));
  }
  return blocks > 0;
}

/// Returns a field of the track block with its offset from the end of the CD-Text.
constexpr Field AfterCdText(Field field) {
  return {field.offset - track_block::CdTextEnd, field.width};
}

constexpr std::size_t EndAfterCdText(Field field) {
  return AfterCdText(field).offset + field.width;
}

Track ReadTrack(Reader& reader, std::uint32_t session, Image& image) {
  using namespace track_block;
  const std::uint32_t version = image.version;
  Track track{};
  track.session = session;
  SkipHeader(reader);
  reader.NextBlock(IndexCount.width);
  const std::uint32_t indexes = reader.Get(IndexCount);
  reader.NextBlock(indexes * IndexSize);
  for (std::uint32_t i = 0; i < indexes; ++i) {
    (i == 0 ? track.pregap : track.length) += reader.Get({i * IndexSize, IndexSize});
  }
  const bool hasCdText = SkipCdText(reader);
  image.hasOtherIndexesOrCdText |= hasCdText || indexes != 2;

  reader.NextBlock(EndAfterCdText(version == Version2 ? IsrcValid : LongMark));
  const std::uint32_t size = reader.Get(AfterCdText(SectorSize));
  track.mode = reader.Get(AfterCdText(Mode));
  reader.ExpectAtMost(AfterCdText(Mode), Mode2);
  if (version == Version35) reader.Expect(AfterCdText(LongMark), LongMarkValue);
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

std::int64_t EndOfStored(const Track& track) {
  return track.lba + static_cast<std::int64_t>(track.stored);
}

/// Returns the data track that contains the sector, or null. If there are several, it is the last one.
const Track* FindTrack(const Image& image, std::int64_t lba) {
  const auto found = std::find_if(image.tracks.rbegin(), image.tracks.rend(), [&](const Track& track) {
    return track.IsData() && lba >= track.lba && lba < EndOfStored(track);
  });
  return found == image.tracks.rend() ? nullptr : &*found;
}

/// The end of the descriptor.
struct FileEnd {
  std::uint64_t offset;  ///< the end of its last field
  std::uint32_t version;
  std::uint64_t descriptor;  ///< the offset of its start
};

bool IsKnown(std::uint32_t version) {
  return version == Version2 || version == Version3 || version == Version35;
}

/// Reads the last fields of a descriptor from a block. Returns nothing if there is no possible descriptor
/// before `offset`, the end of the block in the file.
std::optional<FileEnd> ReadFileEnd(std::span<const std::byte> block, std::uint64_t offset) {
  const std::uint32_t version = disc::ReadNumber(block, file_end::Version);
  const std::uint32_t place = disc::ReadNumber(block, file_end::DescriptorPlace);
  if (!IsKnown(version)) return std::nullopt;
  if (place > offset) return std::nullopt;
  const std::uint64_t descriptor = version == Version35 ? offset - place : place;
  if (offset - descriptor > LongestDescriptor) return std::nullopt;
  return FileEnd{offset, version, descriptor};
}

/// Finds the end of the descriptor: usually the end of the file.
FileEnd FindFileEnd(const Source& source) {
  if (source.size < file_end::Size) throw FormatError("the file is too short");
  const std::uint64_t searched = std::min(source.size, LongestDescriptor);
  const std::vector<std::byte> bytes =
      source.Bytes(source.size - searched, static_cast<std::size_t>(searched));
  for (std::size_t at = bytes.size() - file_end::Size + 1; at-- > 0;) {
    const std::uint64_t offset = source.size - bytes.size() + at + file_end::Size;
    const auto found = ReadFileEnd(std::span(bytes).subspan(at), offset);
    if (found) return *found;
  }
  const std::uint32_t version = disc::ReadNumber(std::span(bytes).last(file_end::Size), file_end::Version);
  if (!IsKnown(version) && version >> 8 == Version35 >> 8)
    throw UnknownVersion(std::to_string(version & 0xFF));
  throw NoDescriptor("it does not end like an image of version 2, 3 or 3.5");
}

/// Returns the number of tracks in the session. In version 2, all blocks but the first lack their first byte.
std::uint32_t ReadSessionBlock(Reader& reader, std::uint32_t version, std::uint32_t session) {
  const std::size_t missing = version == Version2 && session > 0 ? 1 : 0;
  reader.NextBlock(session_block::Size - missing);
  if (missing == 0) reader.Expect({0, 1}, 0);
  return reader.Get({session_block::TrackCount.offset - missing, 1});
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
    const Track* track = FindTrack(*this, lba);
    if (track == nullptr) throw OutsideTracks("sector " + std::to_string(lba) + " is in no data track");
    const std::uint64_t sector =
        track->offset + static_cast<std::uint64_t>(lba - track->lba) * track->sectorSize;
    source.read(sector + UserDataOffset(*track),
                std::span(data).subspan(done, std::min(length - done, UserDataSize)));
  }
  return data;
}

bool Image::AreInDataTracks(std::int64_t first, std::int64_t end) const {
  while (first < end) {
    const Track* track = FindTrack(*this, first);
    if (track == nullptr) return false;
    first = EndOfStored(*track);
  }
  return true;
}

Image ParseImage(const Source& source) {
  const FileEnd end = FindFileEnd(source);
  Reader reader(source.Bytes(end.descriptor, static_cast<std::size_t>(end.offset - end.descriptor)));
  reader.NextBlock(SessionCount.width);
  const std::uint32_t sessions = reader.Get(SessionCount);
  Image image{.source = source,
              .version = end.version,
              .sessions = 0,
              .descriptorOffset = end.descriptor,
              .bytesAfter = source.size - end.offset,
              .unusualValue = {},
              .hasOtherIndexesOrCdText = false,
              .tracksEnd = 0,
              .tracks = {}};
  for (std::uint32_t session = 0; session < sessions; ++session) {
    const std::uint32_t tracks = ReadSessionBlock(reader, end.version, session);
    if (image.tracks.size() + tracks > MostTracks) {
      throw FormatError("the descriptor describes more tracks than a disc can have");
    }
    for (std::uint32_t i = 0; i < tracks; ++i) image.tracks.push_back(ReadTrack(reader, session, image));
    if (tracks > 0) image.sessions = session + 1;
  }
  ReadSessionBlock(reader, end.version, sessions);  // the end mark
  SkipHeader(reader);                               // of the disc block
  if (const auto unusual = reader.Unusual()) image.unusualValue = end.descriptor + *unusual;
  PlaceTracks(image);
  return image;
}

}  // namespace cdi
