#include "cdicheck/check.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "cdi/image.h"
#include "cdi/sector.h"
#include "scramble/permutation.h"

namespace cdicheck {
namespace {

// The boot header, at the start of the data track.
constexpr std::size_t BootSectors = 16;
constexpr std::size_t BootSectorSize = BootSectors * cdi::UserDataSize;
constexpr std::string_view HardwareId = "SEGA SEGAKATANA";
constexpr std::size_t BodyOffset = 0x100;
constexpr std::size_t StartOffset = 0x300;
constexpr std::array<std::pair<const char*, cdi::Field>, 11> HeaderFields{{
    {"hardware", {0, 16}},
    {"maker", {16, 16}},
    {"device", {32, 16}},
    {"areas", {48, 8}},
    {"peripherals", {56, 8}},
    {"product", {64, 10}},
    {"version", {74, 6}},
    {"date", {80, 16}},
    {"boot file", {96, 16}},
    {"software maker", {112, 16}},
    {"title", {128, 128}},
}};
constexpr std::size_t BootFileField = 8;

/// A boot file lies between 0x8C010000 and the end of memory at 0x8D000000.
constexpr std::uint32_t LargestBootFile = 0xFF0000;

/// CRC-16 with the polynomial 0x1021 and the start value 0xFFFF, over product number and version.
std::string HeaderCheckValue(std::string_view header) {
  unsigned crc = 0xFFFF;
  for (const char c : header.substr(64, 16)) {
    crc ^= static_cast<unsigned>(static_cast<unsigned char>(c)) << 8;
    for (int bit = 0; bit < 8; ++bit) crc = ((crc << 1) ^ ((crc & 0x8000) != 0 ? 0x1021U : 0U)) & 0xFFFF;
  }
  std::array<char, 5> digits{};
  std::snprintf(digits.data(), digits.size(), "%04X", crc);
  return digits.data();
}

std::string Trimmed(std::string_view text) {
  return std::string(text.substr(0, text.find_last_not_of(std::string_view(" \0", 2)) + 1));
}

std::uint32_t WordAt(std::span<const std::byte> bytes, std::size_t offset, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = width; i-- > 0;) value = value << 8 | static_cast<std::uint32_t>(bytes[offset + i]);
  return value;
}

/// Memory, uncached memory, or a register of the console or its processor.
bool IsConsoleAddress(std::uint32_t value) {
  const std::uint32_t area = value >> 24;
  return area == 0x0C || area == 0x8C || area == 0xAC || area == 0xFF || (value >> 16) == 0xA05F;
}

class Checker {
 public:
  explicit Checker(const cdi::Source& source) : source_(source) {}

  Report Run() {
    try {
      report_.image = cdi::ParseImage(source_);
    } catch (const cdi::NoDescriptor&) {
      if (!StartsLikeAnImage()) throw;
      Error(
          "The file is truncated: it begins like an image, but the descriptor at its end is missing. Make it "
          "again.");
      return std::move(report_);
    }
    CheckLayout();
    const cdi::Track* track = DataTrackOfLastSession();
    if (track == nullptr) {
      Error(
          "The last session has no data track, so there is nothing to boot. Make the image of an ISO image.");
      return std::move(report_);
    }
    const DataTrack data(source_, *track);
    CheckSectors(data);
    CheckBootSector(data);
    CheckVolume(data);
    return std::move(report_);
  }

 private:
  void Error(const std::string& text) { report_.problems.push_back({Severity::Error, text}); }
  void Warning(const std::string& text) { report_.problems.push_back({Severity::Warning, text}); }

  /// The boot header at the one place where images with one short audio track have it.
  bool StartsLikeAnImage() const {
    try {
      const auto bytes = source_.Bytes(cdi::DataTrackOffset + cdi::SubheaderSize, HardwareId.size());
      return std::memcmp(bytes.data(), HardwareId.data(), bytes.size()) == 0;
    } catch (const cdi::FormatError&) {
      return false;
    }
  }

  void CheckLayout() {
    const cdi::Image& image = *report_.image;
    if (image.tracksEnd > image.descriptorOffset) {
      Error("The file is too short for the tracks that its descriptor tells of (" +
            std::to_string(image.tracksEnd) + " bytes, not " + std::to_string(image.descriptorOffset) +
            "): part of it is missing. Make it again.");
    } else if (image.tracksEnd < image.descriptorOffset) {
      Error("The descriptor does not fit the file: " +
            std::to_string(image.descriptorOffset - image.tracksEnd) +
            " bytes belong to no track. Make the image again.");
    }
    std::uint64_t end = 0;
    for (const cdi::Track& track : image.tracks) {
      if (track.sectorSize == 0) Error("A track has sectors of an unknown size. Make the image again.");
      if (std::uint64_t{track.pregap} + track.length != track.total) {
        Error("A track's length is not that of its parts. Make the image again.");
      }
      end = std::max(end, std::uint64_t{track.start} + track.length);
    }
    if (end > cdi::DiscCapacity) {
      Warning("The disc has " + std::to_string(end) + " sectors, but an 80-minute disc holds " +
              std::to_string(cdi::DiscCapacity) +
              ": it will work in an emulator only. Leave some files out.");
    }
  }

  const cdi::Track* DataTrackOfLastSession() const {
    const auto& tracks = report_.image->tracks;
    const auto isData = [&](const cdi::Track& track) {
      return track.session + 1 == report_.image->sessions && track.mode != 0 && track.sectorSize != 0;
    };
    const auto found = std::ranges::find_if(tracks, isData);
    return found == tracks.end() ? nullptr : &*found;
  }

  /// EDC and ECC of every Mode 2 Form 1 sector.
  void CheckSectors(const DataTrack& data) {
    const cdi::Track& track = data.Track();
    if (track.mode != static_cast<std::uint32_t>(cdi::TrackMode::Mode2)) {
      Warning("The data track is not in Mode 2, which the console's start-up expects of such a disc.");
      return;
    }
    if (track.sectorSize < cdi::StoredSectorSize) return;
    std::uint32_t bad = 0, firstBad = 0;
    for (std::uint32_t i = 0; i < track.length && data.Holds(track.start + i); ++i) {
      const auto stored = source_.Bytes(
          track.offset + std::uint64_t{i} * track.sectorSize + data.SubheaderOffset(), cdi::StoredSectorSize);
      if (IsCorrect(stored)) continue;
      if (bad++ == 0) firstBad = track.start + i;
    }
    if (bad > 0) {
      Error(std::to_string(bad) + (bad == 1 ? " sector has" : " sectors have") +
            " a wrong checksum or error correction code, the first one at LBA " + std::to_string(firstBad) +
            ": the file was damaged after it was made. Make it again.");
    }
  }

  static bool IsCorrect(std::span<const std::byte> stored) {
    constexpr unsigned form2 = 0x20;
    if ((static_cast<unsigned>(stored[2]) & form2) != 0) return true;  // carries no error correction
    const auto userData = stored.subspan(cdi::SubheaderSize).first<cdi::UserDataSize>();
    std::array<std::byte, cdi::StoredSectorSize> expected;
    cdi::EncodeSector(userData, expected);
    if (std::ranges::equal(stored, expected)) return true;
    // Another subheader has another EDC; its ECC is left alone.
    const bool ownSubheader =
        !std::ranges::equal(stored.first(cdi::SubheaderSize), std::span(expected).first(cdi::SubheaderSize));
    return ownSubheader && cdi::Edc(stored.first(cdi::EdcOffset)) == WordAt(stored, cdi::EdcOffset, 4);
  }

  void CheckBootSector(const DataTrack& data) {
    try {
      bootSector_ = data.Bytes(data.Track().start, BootSectorSize);
    } catch (const cdi::FormatError&) {
      Error("The data track is shorter than the boot sector. Make the image again.");
      return;
    }
    const std::string_view header(reinterpret_cast<const char*>(bootSector_.data()), bootSector_.size());
    if (!header.starts_with(HardwareId)) {
      Error("The disc has no boot header: give the ISO image an IP.BIN (mkisofs -G).");
      bootSector_.clear();
      return;
    }
    for (const auto& [name, field] : HeaderFields) {
      report_.bootHeader.push_back({name, Trimmed(header.substr(field.offset, field.width))});
    }
    if (header.substr(32, 4) != HeaderCheckValue(header)) {
      Warning("The check value in the boot header is " + std::string(header.substr(32, 4)) +
              ", but product number and "
              "version make it " +
              HeaderCheckValue(header) + ": some start-up code refuses that. Correct the IP.BIN.");
    }
    const auto isZero = [](std::byte byte) { return byte == std::byte{0}; };
    if (std::ranges::all_of(std::span(bootSector_).subspan(BodyOffset), isZero)) {
      Error(
          "The boot sector holds a header only, and nothing that starts a program: the image was made "
          "without an "
          "IP.TMPL. Put one beside the program, remove IP.BIN from the folder, and make it again.");
    } else if (WordAt(bootSector_, StartOffset, 4) == 0 || WordAt(bootSector_, StartOffset, 2) == 0xFFFF) {
      Error(
          "The boot sector has no code at offset 0x300, where the console starts it. Use a complete "
          "IP.TMPL.");
    }
  }

  void CheckVolume(const DataTrack& data) {
    try {
      report_.volume = ReadVolume(data);
    } catch (const OutsideTrack& error) {
      const std::string start = std::to_string(data.Track().start);
      Error("The files cannot be read (" + std::string(error.what()) +
            "): the volume must be made for the address of " + "its track, " + start + " (mkisofs -C 0," +
            start + "), and be there as a whole.");
      return;
    } catch (const cdi::FormatError& error) {
      Error("The files cannot be read: " + std::string(error.what()) + ". Make the ISO image again.");
      return;
    }
    if (!bootSector_.empty()) CheckBootFile(data);
  }

  void CheckBootFile(const DataTrack& data) {
    const std::string& name = report_.bootHeader[BootFileField].text;
    const auto& files = report_.volume->files;
    const auto file = std::ranges::find(files, name, &FileEntry::path);
    if (file == files.end()) {
      const auto elsewhere = std::ranges::find_if(
          files, [&](const FileEntry& entry) { return entry.path.ends_with("/" + name); });
      if (elsewhere != files.end()) {
        Error("The boot file " + name + " lies in a folder (" + elsewhere->path +
              "), but the console looks for it in the "
              "root only. Move it there.");
      } else {
        Error("The boot header names " + name +
              ", but no such file is in the root of the disc. Names count to the "
              "letter, capitals included.");
      }
      return;
    }
    if (!file->hasVersion) {
      Error(
          "The boot file is recorded without the version \";1\", with which the console looks for it. Do not "
          "have "
          "mkisofs leave versions out (-N).");
    }
    if (file->size > LargestBootFile) {
      Error("The boot file has " + std::to_string(file->size) + " bytes, but the console has room for " +
            std::to_string(LargestBootFile) + ". Load some of its data from the disc instead.");
      return;
    }
    if (file->size == 0) {
      Error("The boot file is empty. Was it a link in the folder? Put the file itself there.");
      return;
    }
    try {
      CheckProgram(data.Bytes(file->lba, file->size));
    } catch (const cdi::FormatError&) {
      Error("The boot file lies outside the data track in part. Make the image again.");
    }
  }

  void CheckProgram(const std::vector<std::byte>& stored) {
    constexpr std::string_view elfMagic =
        "\x7F"
        "ELF";
    if (stored.size() >= elfMagic.size() &&
        std::memcmp(stored.data(), elfMagic.data(), elfMagic.size()) == 0) {
      Error("The boot file is an ELF file. The console needs its raw binary, scrambled.");
      return;
    }
    constexpr std::size_t shortest = 512;  // of less, neither can be told
    if (stored.size() < shortest) return;
    std::vector<std::byte> plain(stored.size());
    scramble::Unscramble(stored, plain);
    const int plainShare = AddressShare(plain);
    const int storedShare = AddressShare(stored);
    constexpr int leastOfCode = 25;
    if (std::max(plainShare, storedShare) < leastOfCode) {
      Warning(
          "The boot file does not look like a program for the console. Is it the right file, and scrambled "
          "just "
          "once?");
    } else if (storedShare > plainShare) {
      Error(
          "The boot file is not scrambled, but from a disc like this the console unscrambles it. Scramble it "
          "first.");
    }
  }

  const cdi::Source& source_;
  Report report_;
  std::vector<std::byte> bootSector_;
};

}  // namespace

int AddressShare(std::span<const std::byte> program) {
  constexpr std::size_t start = std::size_t{64} * 1024;
  std::size_t loads = 0, addresses = 0;
  for (std::size_t at = 0; at + 2 <= std::min(program.size(), start); at += 2) {
    const std::uint32_t instruction = WordAt(program, at, 2);
    if (instruction >> 12 != 0xD) continue;  // mov.l @(disp,pc),rn
    const std::size_t constant = (at & ~std::size_t{3}) + 4 + 4 * std::size_t{instruction & 0xFF};
    if (constant + 4 > program.size()) continue;
    ++loads;
    addresses += IsConsoleAddress(WordAt(program, constant, 4)) ? 1 : 0;
  }
  return addresses < 2 ? 0 : static_cast<int>(addresses * 100 / loads);
}

Report Check(const cdi::Source& source) {
  return Checker(source).Run();
}

}  // namespace cdicheck
