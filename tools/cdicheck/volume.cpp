#include "cdicheck/volume.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "cdi/descriptor.h"
#include "cdi/sector.h"
#include "disc/bytes.h"
#include "disc/iso9660.h"

namespace cdicheck {
namespace {

namespace folder_record = disc::iso9660::folder_record;
namespace volume_descriptor = disc::iso9660::volume_descriptor;

/// More than any disc has. These limits bound the memory and the time that a damaged volume takes.
constexpr std::size_t MostFiles = 100'000;
constexpr std::size_t LongestPath = 4096;
constexpr std::size_t LongestPaths = std::size_t{32} << 20;  ///< of all files

struct TooLarge : cdi::FormatError {
  using FormatError::FormatError;
};

struct DamagedFolder : cdi::FormatError {
  DamagedFolder() : FormatError("a folder of the volume is damaged") {}
};

/// Returns the text of a field without the spaces at its end.
std::string TextOf(std::span<const std::byte> block, disc::Field field) {
  return disc::TrimEnd(disc::ReadText(block, field), " ");
}

/// The fields that are read of a folder's record.
struct Record {
  std::uint32_t lba;
  std::uint32_t size;
  bool isFolder;
  bool hasVersion;
  std::string name;
};

Record ReadRecord(std::span<const std::byte> record) {
  using namespace folder_record;
  const disc::Field nameField{NameOffset, disc::ReadNumber(record, NameLength)};
  if (NameOffset + nameField.width > record.size()) throw DamagedFolder();
  const std::string name = TextOf(record, nameField);
  const std::size_t version = name.find(';');
  return {.lba = disc::ReadNumber(record, FirstSector),
          .size = disc::ReadNumber(record, Size),
          .isFolder = (disc::ReadNumber(record, Flags) & FolderFlag) != 0,
          .hasVersion = name.ends_with(";1"),
          .name = name.substr(0, version)};
}

/// Calls `visit` with each record of a folder. `sectorsLeft` bounds the sectors of all folders together.
template <typename Visit>
void ForEachRecord(const cdi::Image& image, const Record& folder, std::uint32_t& sectorsLeft, Visit visit) {
  std::uint32_t lba = folder.lba;
  for (std::uint64_t done = 0; done < folder.size; done += cdi::UserDataSize, ++lba) {
    if (sectorsLeft-- == 0) throw TooLarge("the folders of the volume are larger than a disc");
    const std::vector<std::byte> sector = image.UserData(lba, cdi::UserDataSize);
    for (std::size_t at = 0; at < sector.size();) {
      const auto left = std::span(sector).subspan(at);
      const std::size_t length = disc::ReadNumber(left, folder_record::Length);
      if (length == 0) break;  // the rest of the sector is empty
      if (length < folder_record::NameOffset || length > left.size()) throw DamagedFolder();
      visit(ReadRecord(left.first(length)));
      at += length;
    }
  }
}

/// Returns true if no data track has a folder at its own address `lba`. A sector that is missing in the file
/// does not count.
bool IsOfAnotherAddress(const cdi::Image& image, std::uint32_t lba) {
  const bool isOnDisc = std::ranges::any_of(image.tracks, [&](const cdi::Track& track) {
    return track.IsData() && lba >= track.lba && lba < track.lba + static_cast<std::int64_t>(track.length);
  });
  if (!isOnDisc) return true;
  return image.AreInDataTracks(lba, std::int64_t{lba} + 1) &&
         !disc::iso9660::IsStartOfFolder(image.UserData(lba, cdi::UserDataSize), lba);
}

bool IsSelfOrParent(const Record& record) {
  return record.name.size() == 1 && (record.name[0] == '\0' || record.name[0] == '\1');
}

}  // namespace

Volume ReadVolume(const cdi::Image& image, std::int64_t start) {
  const std::vector<std::byte> descriptor =
      image.UserData(start + volume_descriptor::Sector, cdi::UserDataSize);
  if (disc::ReadText(descriptor, volume_descriptor::Identifier) != volume_descriptor::StandardIdentifier) {
    throw cdi::FormatError("the data track has no ISO 9660 volume");
  }
  const std::uint32_t type = disc::ReadNumber(descriptor, volume_descriptor::Type);
  if (type != volume_descriptor::Primary) {
    throw cdi::FormatError("the volume descriptor at sector 16 has type " + std::to_string(type) +
                           " instead of 1 (primary)");
  }
  if (!disc::ReadBothOrders(descriptor, volume_descriptor::RootSector)) {
    throw cdi::FormatError("the two copies of the root folder's address contradict each other");
  }
  constexpr disc::Field rootRecord = volume_descriptor::RootRecord;
  const Record root = ReadRecord(std::span(descriptor).subspan(rootRecord.offset, rootRecord.width));
  if (IsOfAnotherAddress(image, root.lba)) throw WrongAddress("the root folder is not at its address");
  Volume volume{.name = TextOf(descriptor, volume_descriptor::VolumeName), .files = {}, .unreadable = {}};
  struct Folder {
    std::string path;
    Record record;
  };
  std::vector<Folder> folders{{"", root}};
  std::set<std::uint32_t> seen{root.lba};
  std::size_t count = 0, pathLengths = 0;
  std::uint32_t sectorsLeft = cdi::DiscCapacity;
  while (!folders.empty()) {
    const Folder folder = std::move(folders.back());
    folders.pop_back();
    const auto addRecord = [&](const Record& record) {
      if (++count > MostFiles) throw TooLarge("the volume has more files than a disc can have");
      if (IsSelfOrParent(record)) return;
      std::string path = folder.path + record.name;
      pathLengths += path.size();
      if (path.size() > LongestPath || pathLengths > LongestPaths) {
        throw TooLarge("the paths of the volume are longer than a disc's can be");
      }
      if (!record.isFolder) {
        volume.files.push_back({std::move(path), record.lba, record.size, record.hasVersion});
      } else if (seen.insert(record.lba).second) {
        folders.push_back({path + "/", record});
      }
    };
    try {
      ForEachRecord(image, folder.record, sectorsLeft, addRecord);
    } catch (const TooLarge&) {
      throw;
    } catch (const cdi::FormatError& error) {
      if (folder.path.empty()) throw;  // the root
      if (!volume.unreadable) volume.unreadable = {folder.path, error.what()};
    }
  }
  std::ranges::sort(volume.files, {}, &FileEntry::path);
  return volume;
}

}  // namespace cdicheck
