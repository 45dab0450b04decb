#pragma once

#include <cstddef>
#include <cstdint>

/// The descriptor's blocks as data: each field's offset within its block and its width, in bytes.
namespace cdi {

struct Field {
  std::size_t offset;
  std::size_t width;
};

inline constexpr std::uint32_t Version35 = 0x80000006;

/// One before each session's tracks, and one without tracks as the end mark.
namespace session_block {
inline constexpr std::size_t Size = 15;
inline constexpr Field TrackCount{1, 1};
inline constexpr Field One{9, 4};
inline constexpr Field EndMark{13, 2};
}  // namespace session_block

/// The start of each track block and of the disc block. It holds the file name, so that its fields lie in
/// front of the name (offsets from the block's start) or behind it (offsets from the name's end).
namespace header {
inline constexpr std::size_t SizeInFront = 17;
inline constexpr Field LeadMark{0, 4};
inline constexpr Field LeadNumber{4, 4};
inline constexpr Field LeadEndMark{8, 4};
inline constexpr Field TracksOnDisc{15, 1};
inline constexpr Field NameLength{16, 1};

inline constexpr std::size_t SizeBehind = 31;
inline constexpr Field Two{11, 1};
inline constexpr Field Flag{22, 1};
inline constexpr Field Capacity{23, 4};
inline constexpr Field Medium{29, 2};
}  // namespace header

/// Behind the header of a track block.
namespace track_block {
inline constexpr std::size_t Size = 188;
inline constexpr Field IndexCount{0, 2};
inline constexpr Field Pregap{2, 4};
inline constexpr Field Length{6, 4};
inline constexpr Field CdTextBlocks{10, 4};
inline constexpr Field Mode{16, 4};
inline constexpr Field Session{24, 4};
inline constexpr Field Track{28, 4};
inline constexpr Field Start{32, 4};
inline constexpr Field TotalLength{36, 4};
inline constexpr Field SectorSize{56, 4};
inline constexpr Field Control{60, 4};
inline constexpr Field TotalLengthAgain{65, 4};
inline constexpr Field AllOnes{90, 8};
inline constexpr Field One{98, 4};
inline constexpr Field Hex80{102, 4};
inline constexpr Field Two{106, 4};
inline constexpr Field Hex10{110, 4};
inline constexpr Field SampleRate{114, 4};
inline constexpr Field HexFF{160, 4};
inline constexpr Field SessionType{176, 1};
inline constexpr Field End{184, 4};
}  // namespace track_block

/// Behind the header of the disc block: first what lies in front of the volume name, then what lies behind.
namespace disc_block {
inline constexpr std::size_t SizeInFront = 5;
inline constexpr Field DiscSize{0, 4};
inline constexpr Field NameLength{4, 1};

inline constexpr std::size_t SizeBehind = 42;
inline constexpr Field One{1, 4};
inline constexpr Field OneAgain{5, 4};
inline constexpr Field Version{38, 4};
}  // namespace disc_block

/// Behind everything: the length of the descriptor, this field included, in version 3.5.
inline constexpr Field DescriptorOffset{0, 4};

enum class TrackMode : std::uint32_t { Audio = 0, Mode1 = 1, Mode2 = 2 };
enum class StoredSize : std::uint32_t {
  Bytes2048 = 0,
  Bytes2336 = 1,
  Bytes2352 = 2,
  Bytes2368 = 3,
  Bytes2448 = 4
};
enum class Control : std::uint32_t { Audio = 0, Data = 4 };
enum class SessionType : std::uint32_t { CdDa = 0, CdRom = 1, CdRomXa = 2 };

}  // namespace cdi
