#pragma once

#include <cstddef>
#include <string_view>

#include "disc/bytes.h"

/// The boot sector, the first 16 sectors of a data track: a header of text, then the code that starts the
/// program.
namespace disc::boot_header {

inline constexpr std::size_t BootSectorSize = std::size_t{16} * 2048;

inline constexpr Field Hardware{0, 16};
inline constexpr Field Maker{16, 16};
inline constexpr Field Device{32, 16};
inline constexpr Field Areas{48, 8};
inline constexpr Field Peripherals{56, 8};
inline constexpr Field Product{64, 10};
inline constexpr Field Version{74, 6};
inline constexpr Field Date{80, 16};
inline constexpr Field BootFile{96, 16};
inline constexpr Field SoftwareMaker{112, 16};
inline constexpr Field Title{128, 128};

inline constexpr std::string_view HardwareId = "SEGA SEGAKATANA";

/// The device begins with a check value in hexadecimal digits, made of product number and version.
inline constexpr Field CheckValue{32, 4};
inline constexpr Field CheckedText{64, 16};

/// Behind the header, and where the console jumps to.
inline constexpr std::size_t BodyOffset = 0x100;
inline constexpr std::size_t StartOffset = 0x300;

}  // namespace disc::boot_header
