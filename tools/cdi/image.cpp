#include "cdi/image.h"

#include <algorithm>
#include <span>

#include "cdi/descriptor.h"

namespace cdi {
namespace {

constexpr std::uint32_t Medium = 0x98;  // a CD
constexpr std::uint32_t TrackCount = 2;

/// A descriptor under construction: blocks of zeros are appended, then their fields are set.
class Builder {
 public:
  void Append(std::size_t blockSize) {
    block_ = bytes_.size();
    bytes_.resize(block_ + blockSize);
  }

  void Append(const std::string& text) {
    const auto bytes = std::as_bytes(std::span(text));
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }

  /// Sets a field of the block appended last.
  template <typename Number>
  void Set(Field field, Number number) {
    auto value = static_cast<std::uint64_t>(number);
    for (std::size_t i = 0; i < field.width; ++i, value >>= 8) {
      bytes_[block_ + field.offset + i] = static_cast<std::byte>(value);
    }
  }

  std::size_t Size() const { return bytes_.size(); }
  std::vector<std::byte> Take() { return std::move(bytes_); }

 private:
  std::vector<std::byte> bytes_;
  std::size_t block_ = 0;
};

struct Track {
  std::uint32_t session;
  std::uint32_t start;
  std::uint32_t length;
  TrackMode mode;
  StoredSize sectorSize;
  Control control;
  SessionType sessionType;
};

void AddSessionBlock(Builder& to, std::uint32_t trackCount) {
  to.Append(session_block::Size);
  to.Set(session_block::TrackCount, trackCount);
  to.Set(session_block::One, 1);
  to.Set(session_block::EndMark, 0xFFFF);
}

void AddHeader(Builder& to, const std::string& fileName) {
  to.Append(header::SizeInFront);
  to.Set(header::LeadMark, 0x0000FFFF);
  to.Set(header::LeadNumber, 1);
  to.Set(header::LeadEndMark, 0xFFFFFFFF);
  to.Set(header::TracksOnDisc, TrackCount);
  to.Set(header::NameLength, fileName.size());
  to.Append(fileName);
  to.Append(header::SizeBehind);
  to.Set(header::Two, 2);
  to.Set(header::Flag, 0x80);
  to.Set(header::Capacity, DiscCapacity);
  to.Set(header::Medium, Medium);
}

void AddTrackBlock(Builder& to, const std::string& fileName, const Track& track) {
  AddHeader(to, fileName);
  to.Append(track_block::Size);
  to.Set(track_block::IndexCount, 2);
  to.Set(track_block::Pregap, PregapLength);
  to.Set(track_block::Length, track.length);
  to.Set(track_block::Mode, track.mode);
  to.Set(track_block::Session, track.session);
  to.Set(track_block::Track, 0);
  to.Set(track_block::Start, track.start);
  to.Set(track_block::TotalLength, PregapLength + track.length);
  to.Set(track_block::SectorSize, track.sectorSize);
  to.Set(track_block::Control, track.control);
  to.Set(track_block::TotalLengthAgain, PregapLength + track.length);
  to.Set(track_block::AllOnes, ~std::uint64_t{0});
  to.Set(track_block::One, 1);
  to.Set(track_block::Hex80, 0x80);
  to.Set(track_block::Two, 2);
  to.Set(track_block::Hex10, 0x10);
  to.Set(track_block::SampleRate, 44100);
  to.Set(track_block::HexFF, 0xFF);
  to.Set(track_block::SessionType, track.sessionType);
  to.Set(track_block::End, track.start + track.length);
}

void AddDiscBlock(Builder& to, const std::string& fileName, const std::string& volumeName,
                  std::uint32_t discSize) {
  AddHeader(to, fileName);
  to.Append(disc_block::SizeInFront);
  to.Set(disc_block::DiscSize, discSize);
  to.Set(disc_block::NameLength, volumeName.size());
  to.Append(volumeName);
  to.Append(disc_block::SizeBehind);
  to.Set(disc_block::One, 1);
  to.Set(disc_block::OneAgain, 1);
  to.Set(disc_block::Version, Version35);
}

}  // namespace

std::vector<std::byte> MakeDescriptor(const std::string& fileName, const std::string& volumeName,
                                      std::uint32_t dataLength) {
  const std::string name = fileName.substr(0, 255);
  const Track audio{.session = 0,
                    .start = 0,
                    .length = AudioLength,
                    .mode = TrackMode::Audio,
                    .sectorSize = StoredSize::Bytes2352,
                    .control = Control::Audio,
                    .sessionType = SessionType::CdDa};
  const Track data{.session = 1,
                   .start = DataTrackStart,
                   .length = dataLength,
                   .mode = TrackMode::Mode2,
                   .sectorSize = StoredSize::Bytes2336,
                   .control = Control::Data,
                   .sessionType = SessionType::CdRomXa};

  Builder descriptor;
  descriptor.Append(1);
  descriptor.Set({0, 1}, 2);  // sessions
  for (const Track& track : {audio, data}) {
    AddSessionBlock(descriptor, 1);
    AddTrackBlock(descriptor, name, track);
  }
  AddSessionBlock(descriptor, 0);
  AddDiscBlock(descriptor, name, volumeName, DataTrackStart + dataLength);
  descriptor.Append(DescriptorOffset.width);
  descriptor.Set(DescriptorOffset, descriptor.Size());
  return descriptor.Take();
}

}  // namespace cdi
