#pragma once

#include <initializer_list>
#include <string>

#include "cdicheck/check.h"

namespace cdicheck {

/// The text of a problem. A finding replaces each {}.
struct Sentence {
  Severity severity;
  const char* text;
};

constexpr Sentence Error(const char* text) {
  return {Severity::Error, text};
}

constexpr Sentence Warning(const char* text) {
  return {Severity::Warning, text};
}

/// All of them, in the order of the checks.
namespace problems {

inline constexpr Sentence NoImage = Error("no DiscJuggler image: {}");
inline constexpr Sentence Truncated = Error(
    "The file is truncated: it begins like an image, but the descriptor at its end is missing. "
    "Make it again.");
inline constexpr Sentence TracksMissing = Error(
    "The file is too short for the tracks that its descriptor tells of ({} bytes, not {}): "
    "part of it is missing. Make it again.");
inline constexpr Sentence BytesOfNoTrack =
    Error("The descriptor does not fit the file: {} bytes belong to no track. Make the image again.");
inline constexpr Sentence UnknownSectorSize =
    Error("A track has sectors of an unknown size. Make the image again.");
inline constexpr Sentence WrongLength =
    Error("A track's length is not that of its parts. Make the image again.");
inline constexpr Sentence TooLong = Warning(
    "The disc has {} sectors, but an 80-minute disc holds {}: it will work in an emulator only. "
    "Leave some files out.");
inline constexpr Sentence NoDataTrack =
    Error("The last session has no data track, so there is nothing to boot. Make the image of an ISO image.");

inline constexpr Sentence AudioFirst = Warning(
    "The last session begins with an audio track, but start-up code looks for the boot sector on its first track: "
    "the disc may not start. Put the data track in front.");
inline constexpr Sentence OtherMode = Warning(
    "The data track is not in Mode 2, which the console's start-up expects of such a disc: "
    "it may start in an emulator only. Make the image with cdi4dc.");
inline constexpr Sentence DamagedSector = Error(
    "1 sector has a wrong header, checksum or error correction code, the first one at LBA {} ({}): "
    "the file was damaged after it was made. Make it again.");
inline constexpr Sentence DamagedSectors = Error(
    "{} sectors have a wrong header, checksum or error correction code, the first one at LBA {} ({}): "
    "the file was damaged after it was made. Make it again.");

inline constexpr Sentence NoBootSector =
    Error("The data track is shorter than the boot sector. Make the image again.");
inline constexpr Sentence NoBootHeader = Error(
    "The disc has no boot header. Remove IP.BIN from the folder and make the image again; "
    "an ISO image that is made by hand needs a good one (mkisofs -G).");
inline constexpr Sentence WrongCheckValue = Warning(
    "The check value in the boot header is {}, but product number and version make it {}: "
    "some start-up code refuses that. Remove IP.BIN from the folder and make the image again, or correct it.");
inline constexpr Sentence HeaderOnly = Error(
    "The boot sector holds a header only, and nothing that starts a program: "
    "the image was made without an IP.TMPL. "
    "Put one in its place, remove IP.BIN from the folder, and make it again.");
inline constexpr Sentence NoStartCode = Error(
    "The boot sector has no code at offset 0x300, where the console starts it. "
    "Put a complete IP.TMPL in its place, remove IP.BIN from the folder, and make the image again.");

inline constexpr Sentence VolumeElsewhere = Error(
    "The files cannot be read ({}). Make the image again; "
    "an ISO image that is made by hand must be made for the address of its track (mkisofs -C 0,{}).");
inline constexpr Sentence VolumeUnreadable = Error("The files cannot be read: {}. Make the image again.");
inline constexpr Sentence FolderUnreadable =
    Warning("The folder {} cannot be read ({}), so the program will miss files. Make the image again.");

inline constexpr Sentence BootFileInFolder = Error(
    "The boot file {} lies in a folder ({}), but the console looks for it in the root only. "
    "Move it there and make the image again.");
inline constexpr Sentence NoBootFile = Error(
    "The boot header names {}, but no such file is in the root of the disc. "
    "Put it there (names count to the letter, capitals included) and make the image again.");
inline constexpr Sentence NoFileVersion = Error(
    "The boot file is recorded without the version \";1\", with which the console looks for it. "
    "Do not have mkisofs leave versions out (-N).");
inline constexpr Sentence BootFileTooLarge = Error(
    "The boot file has {} bytes, but the console has room for {}. "
    "Load some of its data from the disc instead.");
inline constexpr Sentence BootFileEmpty =
    Error("The boot file is empty. Was it a link in the folder? Put the file itself there.");
inline constexpr Sentence BootFileOutside =
    Error("The boot file lies outside the data tracks in part. Make the image again.");
inline constexpr Sentence ElfFile = Error(
    "The boot file is an ELF file, but the console needs its raw binary, scrambled. "
    "Give it a name that ends in .elf and have the image made again.");
inline constexpr Sentence NoProgram = Warning(
    "The boot file does not look like a program for the console. "
    "Is it the right file, and scrambled just once?");
inline constexpr Sentence NotScrambled = Error(
    "The boot file is not scrambled, but from a disc like this the console unscrambles it. "
    "Scramble it and make the image again.");

}  // namespace problems

/// Returns the problem with its findings.
Problem Describe(const Sentence& sentence, std::initializer_list<std::string> findings = {});

}  // namespace cdicheck
