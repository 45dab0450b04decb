#pragma once

#include <cstddef>
#include <initializer_list>

#include "files/text.h"

namespace mMain {

/// A field of the boot sector `IP.BIN`: its offset and width in bytes. Text starts at the left, with one byte
/// per character, and spaces fill the rest.
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
inline constexpr std::size_t BootSectorSize = 32768;

/// True if the fields follow one another from offset 0 without a gap and fill a boot sector.
constexpr bool FillBootSector(std::initializer_list<Field> fields) {
  std::size_t end = 0;
  for (const Field& field : fields) {
    if (field.offset != end) return false;
    end += field.width;
  }
  return end == BootSectorSize;
}
static_assert(FillBootSector({HardwareId, Maker, DeviceInfo, Areas, Peripherals, ProductNumber, Version,
                              ReleaseDate, BootFileName, SoftwareMaker, Title, TemplateBody}));

/// Returns the boot file's name in the boot sector at `path`, without the spaces around it. Bytes after the
/// end of a short file read as NUL. Raises what `platform::Open` and `platform::Read` raise.
Text ReadBootFileName(const Text& path);

}  // namespace mMain
