#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "disc/bytes.h"

/// The fields of an ISO 9660 volume (ECMA-119) that the tools read.
namespace disc::iso9660 {

inline constexpr std::size_t SectorSize = 2048;  ///< in bytes

/// The primary volume descriptor (8.4), one sector.
namespace volume_descriptor {
inline constexpr std::uint32_t Sector = 16;  ///< of the volume; the sectors before are free for a boot sector
inline constexpr Field Type{0, 1};
inline constexpr std::uint32_t Primary = 1;
inline constexpr Field Identifier{1, 5};
inline constexpr std::string_view StandardIdentifier = "CD001";
inline constexpr Field VolumeName{40, 32};
inline constexpr Field VolumeSize{80, 8};  ///< in sectors, in both byte orders
inline constexpr Field RootRecord{156, 34};
inline constexpr Field RootSector{RootRecord.offset + 2, 8};  ///< an LBA, in both byte orders
}  // namespace volume_descriptor

/// The record of a file or folder in its folder (9.1), with the name at the end.
namespace folder_record {
inline constexpr Field Length{0, 1};
inline constexpr Field FirstSector{2, 4};
inline constexpr Field Size{10, 4};  ///< in bytes
inline constexpr Field Flags{25, 1};
inline constexpr std::uint32_t FolderFlag = 2;
inline constexpr Field NameLength{32, 1};
inline constexpr std::size_t NameOffset = 33;
}  // namespace folder_record

/// Returns true if `sector` is the first one of the folder at LBA `lba`: its record of itself says so
/// (6.8.2.2).
inline bool IsStartOfFolder(std::span<const std::byte> sector, std::uint32_t lba) {
  using namespace folder_record;
  return ReadNumber(sector, FirstSector) == lba && ReadNumber(sector, NameLength) == 1 &&
         ReadNumber(sector, {NameOffset, 1}) == 0 && (ReadNumber(sector, Flags) & FolderFlag) != 0;
}

}  // namespace disc::iso9660
