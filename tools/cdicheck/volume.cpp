#include "cdicheck/volume.h"

#include <algorithm>
#include <set>

#include "cdi/sector.h"

namespace cdicheck {
namespace {

constexpr std::size_t MostFiles = 100'000;
constexpr std::uint32_t VolumeDescriptorSector = 16;

std::uint32_t Number(std::span<const std::byte> bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = value << 8 | static_cast<std::uint32_t>(bytes[offset + i]);
  return value;
}

std::string TextOf(std::span<const std::byte> bytes, std::size_t offset, std::size_t length) {
  const auto part = bytes.subspan(offset, length);
  std::string text(reinterpret_cast<const char*>(part.data()), part.size());
  text.resize(text.find_last_not_of(' ') + 1);
  return text;
}

/// A record of a folder (ECMA-119, 9.1).
struct Record {
  std::uint32_t lba;
  std::uint32_t size;
  bool isFolder;
  bool hasVersion;
  std::string name;
};

constexpr std::size_t RecordFixedSize = 33;

Record ReadRecord(std::span<const std::byte> record) {
  const auto nameLength = static_cast<std::size_t>(record[32]);
  if (RecordFixedSize + nameLength > record.size())
    throw cdi::FormatError("a folder of the volume is damaged");
  const std::string name = TextOf(record, RecordFixedSize, nameLength);
  const std::size_t version = name.find(';');
  return {Number(record, 2), Number(record, 10), (static_cast<unsigned>(record[25]) & 2) != 0,
          version != std::string::npos, name.substr(0, version)};
}

/// All folders together have no more than `sectorsLeft` sectors.
std::vector<Record> ReadFolder(const DataTrack& track, std::uint32_t lba, std::uint32_t size,
                               std::uint32_t& sectorsLeft) {
  std::vector<Record> records;
  for (std::uint64_t done = 0; done < size; done += cdi::UserDataSize, ++lba) {
    if (sectorsLeft-- == 0) throw cdi::FormatError("the folders of the volume overlap");
    const std::vector<std::byte> sector = track.Sector(lba);
    for (std::size_t at = 0; at < sector.size();) {
      const auto length = static_cast<std::size_t>(sector[at]);
      if (length == 0) break;  // the rest of the sector is empty
      if (length < RecordFixedSize || length > sector.size() - at) {
        throw cdi::FormatError("a folder of the volume is damaged");
      }
      records.push_back(ReadRecord(std::span(sector).subspan(at, length)));
      at += length;
    }
    if (records.size() > MostFiles) throw cdi::FormatError("a folder of the volume has no end");
  }
  return records;
}

bool IsSelfOrParent(const Record& record) {
  return record.name.size() == 1 && (record.name[0] == '\0' || record.name[0] == '\1');
}

}  // namespace

std::uint64_t DataTrack::SubheaderOffset() const {
  return track_.sectorSize >= 2352 ? 16 : 0;
}

bool DataTrack::Holds(std::uint32_t lba) const {
  if (lba < track_.start || lba - track_.start >= track_.length || track_.sectorSize == 0) return false;
  const std::uint64_t end = track_.offset + (std::uint64_t{lba - track_.start} + 1) * track_.sectorSize;
  return end <= source_.size;
}

std::vector<std::byte> DataTrack::Sector(std::uint32_t lba) const {
  if (!Holds(lba)) throw OutsideTrack("sector " + std::to_string(lba) + " lies outside the data track");
  const bool plain = track_.sectorSize == cdi::UserDataSize;
  const bool mode2 = track_.mode == static_cast<std::uint32_t>(cdi::TrackMode::Mode2);
  const std::uint64_t before = plain ? 0 : SubheaderOffset() + (mode2 ? cdi::SubheaderSize : 0);
  return source_.Bytes(track_.offset + std::uint64_t{lba - track_.start} * track_.sectorSize + before,
                       cdi::UserDataSize);
}

std::vector<std::byte> DataTrack::Bytes(std::uint32_t lba, std::size_t length) const {
  std::vector<std::byte> bytes;
  while (bytes.size() < length) {
    const std::vector<std::byte> sector = Sector(lba++);
    const std::size_t count = std::min(length - bytes.size(), sector.size());
    bytes.insert(bytes.end(), sector.begin(), sector.begin() + static_cast<std::ptrdiff_t>(count));
  }
  return bytes;
}

Volume ReadVolume(const DataTrack& track) {
  const std::vector<std::byte> descriptor = track.Sector(track.Track().start + VolumeDescriptorSector);
  if (TextOf(descriptor, 1, 5) != "CD001") throw cdi::FormatError("the data track holds no ISO 9660 volume");

  const Record root = ReadRecord(std::span(descriptor).subspan(156, 34));
  Volume volume{.name = TextOf(descriptor, 40, 32), .rootLba = root.lba, .files = {}};
  struct Folder {
    std::string path;
    Record record;
  };
  std::vector<Folder> folders{{"", root}};
  std::set<std::uint32_t> seen{root.lba};
  std::size_t count = 0;
  std::uint32_t sectorsLeft = track.Track().length;
  while (!folders.empty()) {
    const Folder folder = std::move(folders.back());
    folders.pop_back();
    for (const Record& record : ReadFolder(track, folder.record.lba, folder.record.size, sectorsLeft)) {
      if (++count > MostFiles) throw cdi::FormatError("the volume holds more files than a disc can");
      if (IsSelfOrParent(record)) continue;
      const std::string path = folder.path + record.name;
      if (!record.isFolder) {
        volume.files.push_back({path, record.lba, record.size, record.hasVersion});
      } else if (seen.insert(record.lba).second) {
        folders.push_back({path + "/", record});
      }
    }
  }
  std::ranges::sort(volume.files, {}, &FileEntry::path);
  return volume;
}

}  // namespace cdicheck
