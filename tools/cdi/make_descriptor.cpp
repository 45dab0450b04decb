#include "cdi/make_descriptor.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "cdi/descriptor.h"
#include "disc/bytes.h"

namespace cdi {
namespace {

using Bytes = std::vector<std::byte>;

/// Appends a block of zeros with these constants and values.
void AddBlock(Bytes& to, std::size_t size, std::span<const FieldValue> constants,
              std::initializer_list<FieldValue> values) {
  to.resize(to.size() + size);
  const auto block = std::span(to).last(size);
  for (const auto& [field, value] : constants) disc::WriteNumber(block, field, value);
  for (const auto& [field, value] : values) disc::WriteNumber(block, field, value);
}

void AddText(Bytes& to, const std::string& text) {
  const auto bytes = std::as_bytes(std::span(text));
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void AddSessionBlock(Bytes& to, std::uint32_t trackCount) {
  using namespace session_block;
  AddBlock(to, Size, Constants, {{TrackCount, trackCount}});
}

void AddHeader(Bytes& to, const std::string& fileName) {
  using namespace header;
  AddBlock(to, SizeBeforeName, Mark, {{TracksOnDisc, 2}, {NameLength, fileName.size()}});
  AddText(to, fileName);
  AddBlock(to, SizeAfterName, ConstantsAfterName, {});
}

/// `kind` is the table of an audio or of a data track.
void AddTrackBlock(Bytes& to, const std::string& fileName, std::span<const FieldValue> kind,
                   std::uint32_t session, std::uint32_t start, std::uint32_t length) {
  using namespace track_block;
  AddHeader(to, fileName);
  AddBlock(to, Size, Constants,
           {{Pregap, PregapLength},
            {Length, length},
            {Session, session},
            {Start, start},
            {TotalLength, PregapLength + length},
            {TotalLengthAgain, PregapLength + length},
            {End, start + length}});
  for (const auto& [field, value] : kind) disc::WriteNumber(std::span(to).last(Size), field, value);
}

void AddDiscBlock(Bytes& to, const std::string& fileName, const std::string& volumeName,
                  std::uint32_t discSize) {
  using namespace disc_block;
  AddHeader(to, fileName);
  AddBlock(to, SizeBeforeName, {}, {{DiscSize, discSize}, {NameLength, volumeName.size()}});
  AddText(to, volumeName);
  AddBlock(to, SizeAfterName, ConstantsAfterName, {});
}

void AddFileEnd(Bytes& to) {
  using namespace file_end;
  AddBlock(to, Size, {}, {{Version, Version35}, {DescriptorPlace, to.size() + Size}});
}

}  // namespace

std::vector<std::byte> MakeDescriptor(const std::string& fileName, const std::string& volumeName,
                                      std::uint32_t dataLength) {
  const std::string name = fileName.substr(0, header::LongestName);
  Bytes descriptor;
  AddBlock(descriptor, SessionCount.width, {}, {{SessionCount, 2}});
  AddSessionBlock(descriptor, 1);
  AddTrackBlock(descriptor, name, track_block::AudioTrack, 0, 0, AudioLength);
  AddSessionBlock(descriptor, 1);
  AddTrackBlock(descriptor, name, track_block::DataTrack, 1, DataTrackStart, dataLength);
  AddSessionBlock(descriptor, 0);
  AddDiscBlock(descriptor, name, volumeName, DataTrackStart + dataLength);
  AddFileEnd(descriptor);
  return descriptor;
}

}  // namespace cdi
