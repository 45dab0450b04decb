#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "cdicheck/check.h"

namespace cdicheck {

/// A kind of problem. Users rely on its identifier. A finding replaces each {} in the text.
struct ProblemKind {
  const char* id;
  Severity severity;
  const char* text;
};

constexpr ProblemKind Error(const char* id, const char* text) {
  return {id, Severity::Error, text};
}

constexpr ProblemKind Warning(const char* id, const char* text) {
  return {id, Severity::Warning, text};
}

/// All kinds, in the order of the checks.
inline constexpr ProblemKind ProblemKinds[] = {
    Error("not-an-image", "not a DiscJuggler image: {}"),
    Error("truncated",
          "The file is truncated: it begins like an image, but the descriptor at its end is missing. "
          "Copy it or make it again."),
    Error(
        "unknown-version",
        "The descriptor has the unknown version {}. Versions 2, 3 and 3.5 are known. Make the image again."),
    Error("bytes-after-descriptor",
          "The file does not end with its descriptor: {} bytes follow it. Copy the file or make it again."),
    Error("tracks-missing",
          "The file is too short: its descriptor describes {} bytes of tracks, but only {} are present. "
          "Copy it or make it again."),
    Error("bytes-outside-tracks",
          "The descriptor does not match the file: {} bytes belong to no track. Make the image again."),
    Error("unknown-sector-size", "A track has sectors of an unknown size. Make the image again."),
    Error("wrong-track-length",
          "The length of a track differs from the sum of its parts. Make the image again."),
    Error("tracks-overlap", "The data track at LBA {} starts inside an audio track. Make the image again."),
    Warning("wrong-session-gap",
            "{} sectors are between session {} and the session before it, instead of {}. "
            "The disc may not start. Make the image with cdi4dc."),
    Warning("one-session",
            "The disc has only one session, so it does not start from a CD. Make the image with cdi4dc."),
    Warning("disc-too-long",
            "The disc has {} sectors, but an 80-minute disc has room for {}. It works only in an emulator. "
            "Leave some files out."),
    Warning(
        "descriptor-value",
        "The descriptor has an unusual value at offset {} in the file. Some emulators refuse such images. "
        "Make the image again."),
    Warning("cd-text",
            "The descriptor contains CD-Text, or a track does not have two index lengths. "
            "A common emulator refuses such images. Make the image with cdi4dc."),

    Error("no-data-track",
          "The last session has no data track, so nothing can boot. Make the image from an ISO image."),
    Warning("audio-track-first",
            "The last session begins with an audio track, but start-up code looks for the boot sector "
            "on its first track. The disc may not start. Put the data track first."),
    Warning("wrong-mode",
            "The data track is not in Mode 2, which the console expects on such a disc. "
            "It may start only in an emulator. Make the image with cdi4dc."),
    Error("damaged-sectors",
          "Sectors with a wrong header, checksum or error correction code: {}, the first one at LBA {} ({}). "
          "The file was damaged after it was made. Copy it or make it again."),

    Error("no-boot-sector", "The data track is shorter than the boot sector. Make the image again."),
    Error("no-boot-header",
          "The disc has no boot header. Remove IP.BIN from the folder and make the image again. "
          "If you call mkisofs yourself, add -G IP.BIN."),
    Warning("other-hardware-name",
            "The boot header begins with \"{}\" instead of \"{}\". A console may refuse it. "
            "Remove IP.BIN from the folder and make the image again."),
    Warning(
        "wrong-areas",
        "The area letters in the boot header are \"{}\". J, U and E belong at the first, second and third "
        "place, and one of them is required. Correct them, or remove IP.BIN from the folder and make the "
        "image again."),
    Warning("wrong-check-value",
            "The check value in the boot header is {}, but the product number and version require {}. "
            "Some start-up code refuses the disc. "
            "Correct it, or remove IP.BIN from the folder and make the image again."),
    Error("header-only",
          "The boot sector contains only a header, and no code that starts a program. "
          "Provide a complete IP.TMPL, remove IP.BIN from the folder, and make the image again."),
    Error("no-start-code",
          "The boot sector has no code at offset 0x300, where the console starts it. "
          "Provide a complete IP.TMPL, remove IP.BIN from the folder, and make the image again."),

    Error("wrong-address",
          "The volume was made for another address on the disc. Make the image again. "
          "If you call mkisofs yourself, use -C 0,{}."),
    Error("no-volume", "The files cannot be read: {}. Make the image again."),
    Warning("folder-unreadable",
            "The folder {} cannot be read ({}), so the program cannot find its files. Make the image again."),
    Warning("files-outside-tracks",
            "Files outside the data tracks: {}, the first one is {}. The program cannot read them. "
            "Make the image again."),
    Warning("hole",
            "Sectors of files that were never written: {}, the first one at LBA {}. "
            "The program reads zeros there. "
            "Make the image again."),

    Error("no-boot-file-name",
          "The boot header names no boot file. Remove IP.BIN from the folder and make the image again."),
    Error("boot-file-path",
          "The boot header names {}, but the console looks in the root folder only. "
          "Move the file to the root folder and make the image again."),
    Error("boot-file-in-folder",
          "The boot file {} is in a folder ({}), but the console looks in the root folder only. "
          "Move it there and make the image again."),
    Error("no-boot-file",
          "The boot header names {}, but the root folder of the disc has no such file. "
          "Names are case-sensitive. Put the file there and make the image again."),
    Error("no-file-version",
          "The boot file is recorded without the version \";1\" that the console looks for. "
          "Run mkisofs without -N."),
    Error("boot-file-too-large",
          "The boot file has {} bytes, but the console has room for {}. "
          "Load some of its data from the disc instead."),
    Error("boot-file-empty",
          "The boot file is empty. If it was a link in the folder, put the file itself there."),
    Error("boot-file-outside", "Part of the boot file is outside the data tracks. Make the image again."),
    Error("hole-in-boot-file",
          "Sectors of the boot file that were never written: {}, the first one at LBA {}. "
          "Make the image again."),
    Error("elf-file",
          "The boot file is an ELF file, but the console needs a scrambled raw binary. "
          "Give the file a name that ends in .elf and make the image again."),
    Warning("not-a-program",
            "The boot file does not look like a program for the console. "
            "Check that it is the right file and that it was scrambled only once."),
    Error("not-scrambled",
          "The boot file is not scrambled, but the console unscrambles the boot file of such a disc. "
          "Scramble it and make the image again."),
};

/// The kind with this identifier. One that is not in the list does not compile: the search leaves the list.
struct KnownKind {
  consteval KnownKind(const char* id) {  // NOLINT: a literal converts
    while (std::string_view(ProblemKinds[index].id) != id) ++index;
  }
  std::size_t index = 0;
};

/// Returns a problem of this kind with its findings.
Problem Describe(KnownKind kind, std::initializer_list<std::string> findings = {});

}  // namespace cdicheck
