#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cdicheck/check_steps.h"
#include "cdicheck/problems.h"
#include "disc/boot_header.h"
#include "disc/bytes.h"

namespace cdicheck {
namespace {

using namespace disc::boot_header;

struct NamedField {
  const char* name;
  disc::Field field;
};
constexpr NamedField ShownFields[] = {
    {"hardware", HardwareId},
    {"maker", Maker},
    {"device", DeviceInfo},
    {"areas", Areas},
    {"peripherals", Peripherals},
    {"product", ProductNumber},
    {"version", Version},
    {"date", ReleaseDate},
    {"boot file", BootFileName},
    {"software maker", SoftwareMaker},
    {"title", Title},
};
constexpr std::string_view Padding("\0 ", 2);

/// Returns the CRC-16 with the polynomial 0x1021 and the start value 0xFFFF, in four hexadecimal digits.
std::string CheckValueOf(std::string_view text) {
  unsigned crc = 0xFFFF;
  for (const char c : text) {
    crc ^= static_cast<unsigned>(static_cast<unsigned char>(c)) << 8;
    for (int bit = 0; bit < 8; ++bit) crc = ((crc << 1) ^ ((crc & 0x8000) != 0 ? 0x1021U : 0U)) & 0xFFFF;
  }
  std::array<char, 5> digits{};
  std::snprintf(digits.data(), digits.size(), "%04X", crc);
  return digits.data();
}

/// Returns true if each area letter is at its place, and at least one is present.
bool HasRightAreas(std::string_view areas) {
  constexpr std::string_view letters = "JUE";
  std::size_t found = 0;
  for (std::size_t i = 0; i < areas.size(); ++i) {
    if (letters.find(areas[i]) == std::string_view::npos) continue;
    if (i >= letters.size() || areas[i] != letters[i]) return false;
    ++found;
  }
  return found > 0;
}

std::vector<Problem> CheckHeader(std::span<const std::byte> bootSector) {
  std::vector<Problem> found;
  const std::string_view hardware = disc::ReadText(bootSector, HardwareIdAndMaker);
  if (hardware != UsualHardwareIdAndMaker) {
    found.push_back(
        Describe("other-hardware-name", {std::string(hardware), std::string(UsualHardwareIdAndMaker)}));
  }
  const std::string_view areas = disc::ReadText(bootSector, Areas);
  if (!HasRightAreas(areas)) found.push_back(Describe("wrong-areas", {disc::TrimEnd(areas, Padding)}));
  const std::string value(disc::ReadText(bootSector, CheckValue));
  const std::string expected = CheckValueOf(disc::ReadText(bootSector, CheckedText));
  if (value != expected) found.push_back(Describe("wrong-check-value", {value, expected}));
  return found;
}

std::optional<Problem> CheckBody(std::span<const std::byte> bootSector) {
  const auto isZero = [](std::byte byte) { return byte == std::byte{0}; };
  if (std::ranges::all_of(bootSector.subspan(BodyOffset), isZero)) return Describe("header-only");
  const bool hasCode = disc::ReadNumber(bootSector, {StartOffset, 4}) != 0 &&
                       disc::ReadNumber(bootSector, {StartOffset, 2}) != 0xFFFF;
  return hasCode ? std::nullopt : std::optional(Describe("no-start-code"));
}

}  // namespace

BootSector CheckBootSector(const cdi::Image& image, std::int64_t start) {
  BootSector found;
  std::vector<std::byte> bytes;
  try {
    bytes = image.UserData(start, BootSectorSize);
  } catch (const cdi::FormatError&) {
    found.problems.push_back(Describe("no-boot-sector"));
    return found;
  }
  if (!disc::ReadText(bytes, HardwareId).starts_with(DreamcastId)) {
    found.problems.push_back(Describe("no-boot-header"));
    return found;
  }
  const auto shown = [&](disc::Field field) { return disc::TrimEnd(disc::ReadText(bytes, field), Padding); };
  for (const auto& [name, field] : ShownFields) found.header.push_back({name, shown(field)});
  found.bootFile = shown(BootFileName);
  found.problems = CheckHeader(bytes);
  if (const auto problem = CheckBody(bytes)) found.problems.push_back(*problem);
  return found;
}

}  // namespace cdicheck
