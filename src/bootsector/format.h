#pragma once

#include <cstddef>

#include "files/text.h"

namespace mMain {

/// A field of the boot sector `IP.BIN`: where it begins, in bytes from the file's start, and its width. Text
/// stands at a field's left, one byte a character, and spaces fill the rest.
struct Field {
  std::size_t offset;
  std::size_t width;
};

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
inline constexpr Field TemplateBody{256, 32512};

/// The boot file's name as the boot sector at `path` has it, without the spaces around it. Bytes that the
/// file is too short to hold read as NUL. Raises what opening and reading raise.
Text ReadBootFileName(const Text& path);

}  // namespace mMain
