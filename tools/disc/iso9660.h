#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "disc/bytes.h"

/// What is read of an ISO 9660 volume (ECMA-119), in sectors of 2048 bytes.
namespace disc::iso9660 {

/// The primary volume descriptor (8.4) and the volume's sector that it fills.
namespace volume_descriptor {
inline constexpr std::uint32_t Sector = 16;
inline constexpr Field Identifier{1, 5};
inline constexpr std::string_view StandardIdentifier = "CD001";
inline constexpr Field VolumeName{40, 32};
inline constexpr Field VolumeSize{80, 4};              ///< in sectors
inline constexpr Field VolumeSizeInBothOrders{80, 8};  ///< once more behind it, the highest byte first
inline constexpr Field RootRecord{156, 34};
}  // namespace volume_descriptor

/// A folder's record of a file or a folder (9.1), which ends in its name.
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
