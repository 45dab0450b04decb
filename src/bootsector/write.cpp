#include "bootsector/write.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bootsector/format.h"
#include "errors/runtime_error.h"
#include "files/paths.h"
#include "platform/platform.h"
#include "run/command_line.h"
#include "run/product.h"
#include "run/run_state.h"

namespace mMain {
namespace {

struct ConstantField {
  Field field;
  const wchar_t* text;
};

/// The first four characters of `DeviceInfo` are a check value: the CRC-16 (polynomial 0x1021, start 0xFFFF)
/// of the 16 bytes of `ProductNumber` and `Version`. If you change one of those two, change it as well.
constexpr std::array<ConstantField, 7> ConstantFields{{
    {HardwareId, L"SEGA SEGAKATANA"},
    {Maker, L"SEGA ENTERPRISES"},
    {DeviceInfo, L"B6D8 CD-ROM1/1"},
    {Areas, L"JUE"},
    {Peripherals, L"E000010"},
    {ProductNumber, L"T0000"},
    {Version, L"V1.000"},
}};

/// Returns the present local date in the form "yyyymmdd".
Text FormatToday() {
  const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(platform::PresentTime()));
  const unsigned monthAndDay = static_cast<unsigned>(date.month()) * 100 + static_cast<unsigned>(date.day());
  return std::to_wstring(static_cast<int>(date.year()) * 10000 + static_cast<int>(monthAndDay));
}

Text GetOptionOr(const Text& name, const Text& standard) {
  const Text value = GetOption(name);
  return value.empty() ? standard : value;
}

/// Returns the name that the boot sector must contain. `BootFile` may end in NULs from an older boot sector.
Text FormBootFileName() {
  Text name = GetFileName(platform::UpperCase(CutAtNul(*RunState.BootFile)));
  if (name.size() > BootFileName.width) throw InvalidCall;
  return name;
}

void WriteText(const Text& text) {
  const std::string bytes = platform::ToBytes(text);
  platform::Write(std::as_bytes(std::span(bytes)));
}

/// Writes `text`, filled with spaces or cut to the width of `field`, at the present position.
void WriteField(const Field& field, Text text) {
  text.resize(field.width, L' ');
  WriteText(text);
}

void UpdateBootSector(const Text& path) {
  const Text storedName = ReadBootFileName(path);
  const Text newName = FormBootFileName();
  const Text asStored = platform::FromBytes(platform::ToBytes(newName));
  if (storedName == asStored) return;

  platform::Open(path);
  platform::Seek(BootFileName.offset);
  WriteText(Text(BootFileName.width, L' '));
  platform::Seek(BootFileName.offset);
  WriteText(newName);
  platform::Close();
}

std::vector<std::byte> ReadTemplateBody() {
  std::vector<std::byte> body(TemplateBody.width);
  platform::Open(AddBackslash(platform::AppDir()) + L"IP.TMPL");
  platform::Seek(TemplateBody.offset);
  platform::Read(body);
  platform::Close();
  return body;
}

void CreateBootSector(const Text& path) {
  const Text releaseDate = FormatToday();
  const Text coder = GetOptionOr(L"--coder", L"Tarnfel");
  const Text title = GetOptionOr(L"--cdvol", Text(AppTitle) + L" " + AppVersion);
  const std::vector<std::byte> body = ReadTemplateBody();
  const Text bootFileName = FormBootFileName();

  platform::Open(path);
  for (const ConstantField& constant : ConstantFields) WriteField(constant.field, constant.text);
  WriteField(ReleaseDate, releaseDate);
  WriteField(BootFileName, bootFileName);
  WriteField(SoftwareMaker, coder);
  WriteField(Title, title);
  platform::Write(body);
  platform::Close();
}

}  // namespace

void WriteBootSector(const Text& path) {
  if (FileExists(path)) {
    UpdateBootSector(path);
  } else {
    CreateBootSector(path);
  }
}

}  // namespace mMain
