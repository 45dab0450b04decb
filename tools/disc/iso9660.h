#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "disc/bytes.h"

/// The fields of an ISO 9660 volume (ECMA-119) that the tools read.
namespace disc::iso9660 {

inline constexpr std::size_t SectorSize = 2048;  ///< in bytes

/// The primary volume descriptor (8.4), one sector.
namespace volume_descriptor {
inline constexpr std::uint32_t Sector = 16;  ///< of the volume; the sectors before are free for a boot sector
inline constexpr Field Identifier{1, 5};
inline constexpr std::string_view StandardIdentifier = "CD001";
inline constexpr Field VolumeName{40, 32};
inline constexpr Field VolumeSize{80, 4};              ///< in sectors
inline constexpr Field VolumeSizeInBothOrders{80, 8};  ///< and once more, highest byte first
inline constexpr Field RootRecord{156, 34};
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

}  // namespace disc::iso9660
