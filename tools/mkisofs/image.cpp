#include "mkisofs/image.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "disc/iso9660.h"
#include "mkisofs/text.h"

namespace mkisofs {
namespace {

namespace volume_descriptor = disc::iso9660::volume_descriptor;

constexpr int SectorSize = 2048;
constexpr int SectorsAtOnce = 16;

/// Where the names stand in the two volume descriptors: ours and, behind it, Joliet's.
constexpr std::uint64_t PlainName =
    volume_descriptor::Sector * SectorSize + volume_descriptor::VolumeName.offset;
constexpr std::uint64_t JolietName = PlainName + SectorSize;

constexpr std::wstring_view JolietForbids = L"*/:;?\\";

constexpr int FolderMode = AE_IFDIR | 0555;
constexpr int FileMode = AE_IFREG | 0444;

using NameField = std::array<char, volume_descriptor::VolumeName.width>;

NameField MakePlainName(const std::wstring& name) {
  NameField field;
  field.fill(' ');
  const std::string bytes = Utf8(name);
  std::copy_n(bytes.begin(), std::min(bytes.size(), field.size()), field.begin());
  return field;
}

/// In two bytes a character, the higher one first, and without those that Joliet forbids.
NameField MakeJolietName(std::wstring name) {
  NameField field;
  std::ranges::replace_if(
      name, [](wchar_t character) { return JolietForbids.find(character) != std::wstring_view::npos; }, L'_');
  name.resize(field.size() / 2, L' ');
  for (std::size_t i = 0; i < name.size(); ++i) {
    field[2 * i] = static_cast<char>(name[i] >> 8);
    field[2 * i + 1] = static_cast<char>(name[i]);
  }
  return field;
}

}  // namespace

/// An image that is not finished is not to be.
void Image::PutAway::operator()(archive* writer) const {
  archive_write_fail(writer);
  archive_write_free(writer);
}

/// The library puts all contents into a temporary file and from there into the image: the progress counts
/// them twice, and at last the step to the image's place.
Image::Image(const std::string& path, std::uint32_t sessionStart, std::uint64_t contentSize)
    : file_(path), progress_(2 * contentSize + 1), contentLeft_(contentSize), writer_(archive_write_new()) {
  if (!writer_) throw std::bad_alloc();
  Check(archive_write_set_format_iso9660(writer_.get()));
  Check(archive_write_add_filter_none(writer_.get()));
  Check(archive_write_set_bytes_per_block(writer_.get(), SectorsAtOnce * SectorSize));
  Check(archive_write_set_bytes_in_last_block(writer_.get(), SectorSize));
  SetOption("iso-level", "3");
  SetOption("joliet", "1");
  SetOption("rockridge", "useful");
  SetOption("session-start", std::to_string(sessionStart).c_str());
  const auto write = [](archive*, void* image, const void* bytes, std::size_t count) -> la_ssize_t {
    const auto written = static_cast<Image*>(image)->Write({static_cast<const std::byte*>(bytes), count});
    return static_cast<la_ssize_t>(written);
  };
  Check(archive_write_open2(writer_.get(), this, nullptr, write, nullptr, nullptr));
}

void Image::Add(const Entry& entry) {
  const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> header(
      archive_entry_new2(writer_.get()), &archive_entry_free);
  if (!header) throw std::bad_alloc();
  archive_entry_copy_pathname_w(header.get(), entry.name.c_str());
  archive_entry_set_mode(header.get(), entry.isFolder ? FolderMode : FileMode);
  archive_entry_set_size(header.get(), static_cast<la_int64_t>(entry.size));
  archive_entry_set_nlink(header.get(), 1);
  for (const auto set : {archive_entry_set_mtime, archive_entry_set_atime, archive_entry_set_ctime}) {
    set(header.get(), entry.changed, 0);
  }
  Check(archive_write_header(writer_.get(), header.get()));
  if (entry.size == 0) return;
  ReadFile(entry, [&](std::span<const std::byte> bytes) {
    Check(archive_write_data(writer_.get(), bytes.data(), bytes.size()));
    progress_.Add(bytes.size());
  });
}

void Image::Finish(std::span<const std::byte> bootArea, const std::wstring& volumeName) {
  Check(archive_write_close(writer_.get()));
  // The library would write other names, in capitals and wrong beyond ASCII.
  file_.WriteAt(0, bootArea);
  const NameField plainName = MakePlainName(volumeName);
  const NameField jolietName = MakeJolietName(volumeName);
  file_.WriteAt(PlainName, std::as_bytes(std::span(plainName)));
  file_.WriteAt(JolietName, std::as_bytes(std::span(jolietName)));
  file_.Commit();
  progress_.Add(contentLeft_ + 1);
}

void Image::SetOption(const char* name, const char* value) {
  Check(archive_write_set_format_option(writer_.get(), "iso9660", name, value));
}

/// Throws what the library's answer says, or what a write has left in it.
void Image::Check(std::int64_t result) {
  if (failure_) std::rethrow_exception(failure_);
  if (result >= ARCHIVE_OK) return;
  std::string reason = archive_error_string(writer_.get());
  if (const int number = archive_errno(writer_.get()); number > 0) {
    reason += std::string(": ") + std::strerror(number);
  }
  if (result < ARCHIVE_WARN) throw std::runtime_error(reason);
  std::cerr << "mkisofs: warning: " << reason << '\n';
}

/// The library knows no exceptions.
std::int64_t Image::Write(std::span<const std::byte> bytes) {
  try {
    file_.WriteAt(size_, bytes);
  } catch (...) {
    failure_ = std::current_exception();
    return -1;
  }
  size_ += bytes.size();
  const std::uint64_t counted = std::min<std::uint64_t>(contentLeft_, bytes.size());
  contentLeft_ -= counted;
  progress_.Add(counted);
  return static_cast<std::int64_t>(bytes.size());
}

}  // namespace mkisofs
