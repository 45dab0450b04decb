#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "cdi/descriptor.h"
#include "cdi/make_descriptor.h"
#include "cdi/sector.h"
#include "common/files.h"
#include "common/program.h"
#include "common/progress.h"
#include "common/threads.h"
#include "disc/bytes.h"
#include "disc/iso9660.h"

namespace {

namespace volume_descriptor = disc::iso9660::volume_descriptor;

constexpr const char* NoVolume = "no ISO 9660 volume descriptor at sector 16";

/// Returns the number of sectors of an ISO image. They must be whole and include a volume descriptor.
std::uint32_t SectorCount(const tools::InputFile& iso) {
  if (iso.Size() == 0) throw tools::FileError(iso.Path(), "the file is empty");
  if (iso.Size() % cdi::UserDataSize != 0) {
    throw tools::FileError(iso.Path(), "not an ISO image: its size is not a multiple of 2048 bytes");
  }
  const std::uint64_t count = iso.Size() / cdi::UserDataSize;
  if (count <= volume_descriptor::Sector) throw tools::FileError(iso.Path(), NoVolume);
  if (count > std::numeric_limits<std::uint32_t>::max() - cdi::DataTrackStart - cdi::PregapLength) {
    throw tools::FileError(iso.Path(), "too large for an image");
  }
  return static_cast<std::uint32_t>(count);
}

/// Returns true if the volume was made for another sector of the disc than the data track starts at: its root
/// folder is not at its own address. A volume that does not state one address is accepted.
bool IsOfAnotherAddress(const tools::InputFile& iso, std::span<const std::byte> descriptor,
                        std::uint32_t sectors) {
  const auto root = disc::ReadBothOrders(descriptor, volume_descriptor::RootSector);
  if (!root) return false;
  if (*root < cdi::DataTrackStart || *root - cdi::DataTrackStart >= sectors) return true;
  std::vector<std::byte> folder(cdi::UserDataSize);
  iso.ReadAt(std::uint64_t{*root - cdi::DataTrackStart} * cdi::UserDataSize, folder);
  return !disc::iso9660::IsStartOfFolder(folder, *root);
}

/// Returns the volume name of an ISO image with this number of sectors. It must contain its whole volume: a
/// tool that was stopped leaves less.
std::string VolumeName(const tools::InputFile& iso, std::uint32_t sectors) {
  std::vector<std::byte> descriptor(cdi::UserDataSize);
  iso.ReadAt(volume_descriptor::Sector * cdi::UserDataSize, descriptor);
  if (disc::ReadText(descriptor, volume_descriptor::Identifier) != volume_descriptor::StandardIdentifier) {
    throw tools::FileError(iso.Path(), NoVolume);
  }
  const std::uint32_t volumeSize =
      disc::ReadBothOrders(descriptor, volume_descriptor::VolumeSize).value_or(0);
  if (volumeSize > sectors) {
    throw tools::FileError(iso.Path(), "ends too early: it has " + std::to_string(sectors) +
                                           " of its volume's " + std::to_string(volumeSize) +
                                           " sectors. Check that the disk is not full");
  }
  if (IsOfAnotherAddress(iso, descriptor, sectors)) {
    throw tools::FileError(iso.Path(), "made for another address on the disc. Run mkisofs with -C 0," +
                                           std::to_string(cdi::DataTrackStart));
  }
  return std::string(disc::ReadText(descriptor, volume_descriptor::VolumeName));
}

std::string FileName(const std::string& path) {
  return path.substr(path.find_last_of(tools::PathSeparators) + 1);
}

void EncodeBatches(const tools::InputFile& iso, tools::OutputFile& image, std::uint32_t sectors,
                   std::atomic<std::uint64_t>& nextSector, tools::Progress& progress) {
  std::vector<std::byte> userData(tools::SectorsAtOnce * cdi::UserDataSize);
  std::vector<std::byte> stored(tools::SectorsAtOnce * cdi::StoredSectorSize);
  tools::ForEachBatch(nextSector, sectors, [&](std::uint64_t first, std::size_t count) {
    iso.ReadAt(first * cdi::UserDataSize, std::span(userData).first(count * cdi::UserDataSize));
    for (std::size_t i = 0; i < count; ++i) {
      cdi::EncodeSector(std::span(userData).subspan(i * cdi::UserDataSize).first<cdi::UserDataSize>(),
                        std::span(stored).subspan(i * cdi::StoredSectorSize).first<cdi::StoredSectorSize>());
    }
    image.WriteAt(cdi::DataTrackOffset + first * cdi::StoredSectorSize,
                  std::span(stored).first(count * cdi::StoredSectorSize));
    progress.Add(count);
  });
}

void WriteImage(const std::string& isoPath, const std::string& cdiPath) {
  const tools::InputFile iso(isoPath);
  const std::uint32_t sectors = SectorCount(iso);
  const std::string volumeName = VolumeName(iso, sectors);
  if (cdi::DataTrackStart + sectors > cdi::DiscCapacity) {
    std::cerr << tools::Self.name << ": " << cdiPath << ": warning: " << cdi::DataTrackStart + sectors
              << " sectors do not fit on an 80-minute disc, which has " << cdi::DiscCapacity << '\n';
  }
  const std::vector<std::byte> descriptor = cdi::MakeDescriptor(FileName(cdiPath), volumeName, sectors);
  const std::uint64_t descriptorOffset =
      cdi::DataTrackOffset + std::uint64_t{sectors} * cdi::StoredSectorSize;

  // The audio track and both pregaps are zero, like all bytes that are never written.
  tools::OutputFile image(cdiPath);
  image.Reserve(descriptorOffset + descriptor.size());
  image.WriteAt(descriptorOffset, descriptor);

  tools::Progress progress(sectors);
  std::atomic<std::uint64_t> nextSector = 0;
  tools::OnTwoThreads([&] { EncodeBatches(iso, image, sectors, nextSector, progress); });
  image.Commit();
}

}  // namespace

const tools::Program tools::Self{.name = "cdi4dc", .failureStatus = 1};

int main(int argc, char** argv) {
  CLI::App app("Makes a self-booting DiscJuggler image from an ISO image that was made for sector 11702.");
  std::string iso;
  std::string image;
  app.add_option("IN.iso", iso, "The ISO 9660 image to read")->required();
  app.add_option("OUT.cdi", image, "The DiscJuggler image to write")->required();
  return tools::RunProgram(app, argc, argv, [&] { WriteImage(iso, image); });
}
