#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>
#include <limits>

#include "cdi/image.h"
#include "common/files.h"
#include "common/program.h"

namespace {

/// The ISO 9660 primary volume descriptor and what is read of it (ECMA-119, 8.4).
constexpr std::size_t VolumeDescriptorSector = 16;
constexpr std::size_t StandardIdentifierOffset = 1;
constexpr std::string_view StandardIdentifier = "CD001";
constexpr std::size_t VolumeNameOffset = 40;
constexpr std::size_t VolumeNameLength = 32;
constexpr std::size_t VolumeSizeOffset = 80;

constexpr std::size_t SectorsAtOnce = 256;

class Progress {
 public:
  explicit Progress(std::uint64_t total) : total_(total), shown_(tools::StandardErrorIsTerminal()) {}

  void Report(std::uint64_t done) {
    const auto percent = static_cast<int>(done * 100 / total_);
    if (!shown_ || percent == percent_) return;
    percent_ = percent;
    std::cerr << "\rcdi4dc: " << percent << " %" << (done == total_ ? "\n" : "") << std::flush;
  }

 private:
  std::uint64_t total_;
  bool shown_;
  int percent_ = -1;
};

/// The number of sectors of an image, which must be whole sectors and enough of them for a volume descriptor.
std::uint32_t SectorCount(const tools::InputFile& iso) {
  if (iso.Size() == 0) throw tools::FileError(iso.Path(), "the file is empty");
  if (iso.Size() % cdi::UserDataSize != 0) {
    throw tools::FileError(iso.Path(), "no ISO image: its size is no multiple of 2048 bytes");
  }
  const std::uint64_t count = iso.Size() / cdi::UserDataSize;
  if (count <= VolumeDescriptorSector)
    throw tools::FileError(iso.Path(), "no ISO 9660 volume descriptor at sector 16");
  if (count > std::numeric_limits<std::uint32_t>::max() - cdi::DataTrackStart - cdi::PregapLength) {
    throw tools::FileError(iso.Path(), "too large for an image");
  }
  return static_cast<std::uint32_t>(count);
}

/// The sectors that the volume says it has; 0 if its two notations of the number, one for each byte order,
/// do not agree.
std::uint32_t VolumeSize(std::string_view descriptor) {
  std::uint32_t littleEndian = 0;
  std::uint32_t bigEndian = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    littleEndian |= static_cast<std::uint32_t>(static_cast<unsigned char>(descriptor[VolumeSizeOffset + i]))
                    << (8 * i);
    bigEndian = bigEndian << 8 | static_cast<unsigned char>(descriptor[VolumeSizeOffset + 4 + i]);
  }
  return littleEndian == bigEndian ? littleEndian : 0;
}

/// The volume name of an image of `sectors`, which must hold all of its volume: a tool that was stopped
/// leaves less.
std::string VolumeName(const tools::InputFile& iso, std::span<const std::byte> firstSectors,
                       std::uint32_t sectors) {
  const std::string_view text(reinterpret_cast<const char*>(firstSectors.data()), firstSectors.size());
  const std::string_view descriptor =
      text.substr(VolumeDescriptorSector * cdi::UserDataSize, cdi::UserDataSize);
  if (!descriptor.substr(StandardIdentifierOffset).starts_with(StandardIdentifier)) {
    throw tools::FileError(iso.Path(), "no ISO 9660 volume descriptor at sector 16");
  }
  if (VolumeSize(descriptor) > sectors) {
    throw tools::FileError(iso.Path(), "ends after " + std::to_string(sectors) + " of its volume's " +
                                           std::to_string(VolumeSize(descriptor)) + " sectors");
  }
  return std::string(descriptor.substr(VolumeNameOffset, VolumeNameLength));
}

std::string FileName(const std::string& path) {
  return path.substr(path.find_last_of(tools::PathSeparators) + 1);
}

void WriteImage(const std::string& isoPath, const std::string& cdiPath) {
  tools::InputFile iso(isoPath);
  const std::uint32_t sectors = SectorCount(iso);
  if (cdi::DataTrackStart + sectors > cdi::DiscCapacity) {
    std::cerr << "cdi4dc: " << cdiPath << ": warning: " << cdi::DataTrackStart + sectors
              << " sectors fit on no 80-minute disc, which holds " << cdi::DiscCapacity << '\n';
  }

  std::vector<std::byte> userData(SectorsAtOnce * cdi::UserDataSize);
  std::vector<std::byte> stored(SectorsAtOnce * cdi::StoredSectorSize);
  std::uint32_t atOnce = std::min<std::uint32_t>(sectors, SectorsAtOnce);
  iso.Read(std::span(userData).first(atOnce * cdi::UserDataSize));
  const std::string volumeName = VolumeName(iso, userData, sectors);

  tools::OutputFile image(cdiPath);
  image.Write(std::vector<std::byte>(cdi::DataTrackOffset));
  Progress progress(sectors);
  for (std::uint32_t done = 0;;) {
    for (std::size_t i = 0; i < atOnce; ++i) {
      cdi::EncodeSector(std::span(userData).subspan(i * cdi::UserDataSize).first<cdi::UserDataSize>(),
                        std::span(stored).subspan(i * cdi::StoredSectorSize).first<cdi::StoredSectorSize>());
    }
    image.Write(std::span(stored).first(atOnce * cdi::StoredSectorSize));
    done += atOnce;
    progress.Report(done);
    if (done == sectors) break;
    atOnce = std::min<std::uint32_t>(sectors - done, SectorsAtOnce);
    iso.Read(std::span(userData).first(atOnce * cdi::UserDataSize));
  }
  image.Write(cdi::MakeDescriptor(FileName(cdiPath), volumeName, sectors));
  image.Commit();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Makes a self-booting DiscJuggler image of an ISO image whose session starts at sector 11702.",
               "cdi4dc");
  std::string iso;
  std::string image;
  app.add_option("IN.iso", iso, "The ISO 9660 image to read")->required();
  app.add_option("OUT.cdi", image, "The DiscJuggler image to write")->required();
  return tools::RunProgram(app, argc, argv, [&] { WriteImage(iso, image); });
}
