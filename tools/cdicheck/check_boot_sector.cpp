#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
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
    {"hardware", Hardware},
    {"maker", Maker},
    {"device", Device},
    {"areas", Areas},
    {"peripherals", Peripherals},
    {"product", Product},
    {"version", Version},
    {"date", Date},
    {"boot file", BootFile},
    {"software maker", SoftwareMaker},
    {"title", Title},
};
constexpr std::string_view Padding("\0 ", 2);

/// CRC-16 with the polynomial 0x1021 and the start value 0xFFFF, in four digits.
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

/// Of a body without a byte of code nothing else need be said.
void CheckBody(std::span<const std::byte> bootSector, Report& report) {
  const auto isZero = [](std::byte byte) { return byte == std::byte{0}; };
  if (std::ranges::all_of(bootSector.subspan(BodyOffset), isZero)) {
    Add(report, problems::HeaderOnly);
  } else if (disc::ReadNumber(bootSector, {StartOffset, 4}) == 0 ||
             disc::ReadNumber(bootSector, {StartOffset, 2}) == 0xFFFF) {
    Add(report, problems::NoStartCode);
  }
}

}  // namespace

void CheckBootSector(std::int64_t start, Report& report) {
  std::vector<std::byte> bootSector;
  try {
    bootSector = report.image->UserData(start, BootSectorSize);
  } catch (const cdi::FormatError&) {
    Add(report, problems::NoBootSector);
    return;
  }
  if (!disc::ReadText(bootSector, Hardware).starts_with(HardwareId)) {
    Add(report, problems::NoBootHeader);
    return;
  }
  const auto shown = [&](disc::Field field) {
    return disc::TrimEnd(disc::ReadText(bootSector, field), Padding);
  };
  for (const auto& [name, field] : ShownFields) report.bootHeader.push_back({name, shown(field)});
  report.bootFile = shown(BootFile);

  const std::string value(disc::ReadText(bootSector, CheckValue));
  const std::string expected = CheckValueOf(disc::ReadText(bootSector, CheckedText));
  if (value != expected) Add(report, problems::WrongCheckValue, {value, expected});
  CheckBody(bootSector, report);
}

}  // namespace cdicheck
