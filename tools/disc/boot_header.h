#pragma once

#include <cstddef>
#include <string_view>

#include "disc/bytes.h"
#include "disc/iso9660.h"

/// The boot sector, all sectors of a data track before the volume descriptor: a header of text, then the code
/// that starts the program.
namespace disc::boot_header {

inline constexpr std::size_t BootSectorSize = iso9660::volume_descriptor::Sector * iso9660::SectorSize;

inline constexpr Field HardwareId{0, 16};
inline constexpr Field Maker{16, 16};
inline constexpr Field DeviceInfo{32, 16};
inline constexpr Field Areas{48, 8};
inline constexpr Field Peripherals{56, 8};
inline constexpr Field ProductNumber{64, 10};
inline constexpr Field Version{74, 6};
inline constexpr Field ReleaseDate{80, 16};
inline constexpr Field BootFileName{96, 16};
inline constexpr Field SoftwareMaker{112, 16};
inline constexpr Field Title{128, 128};

/// The code follows the header. The console jumps to `StartOffset`.
inline constexpr std::size_t BodyOffset = 256;
inline constexpr std::size_t StartOffset = 0x300;

static_assert([] {
  std::size_t end = 0;
  for (const Field field : {HardwareId, Maker, DeviceInfo, Areas, Peripherals, ProductNumber, Version,
                            ReleaseDate, BootFileName, SoftwareMaker, Title}) {
    if (field.offset != end) return false;
    end += field.width;
  }
  return end == BodyOffset;
}());

/// The start of every hardware id of the console, and the usual text of the first two fields.
inline constexpr std::string_view DreamcastId = "SEGA SEGAKATANA";
inline constexpr Field HardwareIdAndMaker{HardwareId.offset, HardwareId.width + Maker.width};
inline constexpr std::string_view UsualHardwareIdAndMaker = "SEGA SEGAKATANA SEGA ENTERPRISES";

/// `DeviceInfo` begins with a check value of `ProductNumber` and `Version`, in hexadecimal digits.
inline constexpr Field CheckValue{DeviceInfo.offset, 4};
inline constexpr Field CheckedText{ProductNumber.offset, ProductNumber.width + Version.width};

}  // namespace disc::boot_header
