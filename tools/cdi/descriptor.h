#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "cdi/sector.h"
#include "disc/bytes.h"

/// The descriptor's blocks as data. A field whose meaning is known has a name. The tables contain the values
/// that all images of cdi4dc have in common, also of fields whose meaning is unknown.
namespace cdi {

using disc::Field;

struct FieldValue {
  Field field;
  std::uint64_t value;
};

inline constexpr std::uint32_t Version2 = 0x80000004;
inline constexpr std::uint32_t Version3 = 0x80000005;
inline constexpr std::uint32_t Version35 = 0x80000006;

/// The sectors of an 80-minute disc.
inline constexpr std::uint32_t DiscCapacity = 360000;

/// The first byte of the descriptor.
inline constexpr Field SessionCount{0, 1};

/// Before the tracks of each session. One without tracks is the end mark.
namespace session_block {
inline constexpr std::size_t Size = 15;
inline constexpr Field TrackCount{1, 1};
inline constexpr FieldValue Constants[] = {{{9, 4}, 1}, {{13, 2}, 0xFFFF}};
}  // namespace session_block

/// The start of each track block and of the disc block. It contains the file name: its fields are before the
/// name (offsets from the block's start) or after it (offsets from the name's end).
namespace header {
inline constexpr std::size_t SizeBeforeName = 17;
inline constexpr Field TracksOnDisc{15, 1};
inline constexpr Field NameLength{16, 1};
inline constexpr std::size_t LongestName = 255;  ///< in bytes
inline constexpr FieldValue Mark[] = {{{0, 4}, 0x0000FFFF}, {{4, 4}, 1}, {{8, 4}, 0xFFFFFFFF}};

inline constexpr std::size_t SizeAfterName = 31;
inline constexpr std::size_t ShortSizeAfterName = 23;  ///< without the mark
inline constexpr Field LongMark{19, 4};
inline constexpr std::uint32_t LongMarkValue = 0x80000000;
inline constexpr Field Capacity{23, 4};
inline constexpr Field Medium{29, 2};
inline constexpr std::uint32_t CompactDisc = 0x98;
inline constexpr FieldValue ConstantsAfterName[] = {
    {{11, 1}, 2},
    {LongMark, LongMarkValue},
    {Capacity, DiscCapacity},
    {Medium, CompactDisc},
};
}  // namespace header

/// After the header of a track block, with two index lengths and without CD-Text. The images of other
/// programs have other numbers of both, which move the fields after them.
namespace track_block {
inline constexpr std::size_t Size = 188;
inline constexpr Field IndexCount{0, 2};
inline constexpr std::size_t IndexSize = 4;
inline constexpr Field Pregap{2, IndexSize};
inline constexpr Field Length{6, IndexSize};
inline constexpr Field CdTextBlocks{10, 4};
inline constexpr std::size_t CdTextEnd = CdTextBlocks.offset + CdTextBlocks.width;
inline constexpr std::size_t TextsInCdTextBlock = 18;  // each a length of one byte and as many bytes
inline constexpr Field Mode{16, 4};
inline constexpr Field Session{24, 4};
inline constexpr Field Start{32, 4};
inline constexpr Field TotalLength{36, 4};
inline constexpr Field SectorSize{56, 4};
inline constexpr Field Control{60, 4};
inline constexpr Field TotalLengthAgain{65, 4};
inline constexpr Field IsrcValid{85, 4};
inline constexpr Field LongMark{94, 4};
inline constexpr std::uint32_t LongMarkValue = 0xFFFFFFFF;
inline constexpr Field SampleRate{114, 4};
inline constexpr Field SessionType{176, 1};
inline constexpr Field End{184, 4};

/// The last bytes of every version. In version 2 they follow `IsrcValid`. In an old version 3, where the mark
/// has another value, they follow the mark.
inline constexpr std::size_t LastSize = 12;

inline constexpr std::uint32_t Audio = 0;
inline constexpr std::uint32_t Mode1 = 1;
inline constexpr std::uint32_t Mode2 = 2;

/// The meaning of `SectorSize` 0, 1, ... in bytes. The last two have subchannels.
inline constexpr std::array<std::uint32_t, 5> SectorSizes{UserDataSize, StoredSectorSize, RawSectorSize,
                                                          RawSectorSize + 16, RawSectorSize + 96};

inline constexpr FieldValue Constants[] = {
    {IndexCount, 2},               // pregap and track
    {{90, 8}, ~std::uint64_t{0}},  // eight bytes FF
    {{98, 4}, 1},
    {{102, 4}, 0x80},
    {{106, 4}, 2},
    {{110, 4}, 0x10},
    {SampleRate, 44100},  // Hz
    {{160, 4}, 0xFFFFFFFF},
};
inline constexpr FieldValue AudioTrack[] = {
    {Mode, Audio},
    {SectorSize, 2},   // 2352 bytes
    {Control, 0},      // audio
    {SessionType, 0},  // CD-DA
};
inline constexpr FieldValue DataTrack[] = {
    {Mode, Mode2},
    {SectorSize, 1},   // 2336 bytes
    {Control, 4},      // data
    {SessionType, 2},  // CD-ROM XA
};
}  // namespace track_block

/// After the header of the disc block: fields before the volume name, then fields after it.
namespace disc_block {
inline constexpr std::size_t SizeBeforeName = 5;
inline constexpr Field DiscSize{0, 4};
inline constexpr Field NameLength{4, 1};

inline constexpr std::size_t SizeAfterName = 38;
inline constexpr FieldValue ConstantsAfterName[] = {{{1, 4}, 1}, {{5, 4}, 1}};
}  // namespace disc_block

/// The end of the disc block and of the file.
namespace file_end {
inline constexpr std::size_t Size = 8;
inline constexpr Field Version{0, 4};
/// In version 3.5 the length of the descriptor, this field included. In older versions its offset in the
/// file.
inline constexpr Field DescriptorPlace{4, 4};
}  // namespace file_end

}  // namespace cdi
