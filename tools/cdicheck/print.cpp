#include "cdicheck/print.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include "cdi/descriptor.h"
#include "cdi/image.h"

namespace cdicheck {
namespace {

using nlohmann::json;

const char* ModeName(std::uint32_t mode) {
  switch (mode) {
    case cdi::track_block::Audio:
      return "audio";
    case cdi::track_block::Mode1:
      return "data, Mode 1";
    case cdi::track_block::Mode2:
      return "data, Mode 2";
    default:
      return "unknown";
  }
}

const char* SeverityName(Severity severity) {
  return severity == Severity::Error ? "error" : "warning";
}

std::string VersionName(std::uint32_t version) {
  return version == cdi::Version2 ? "2" : version == cdi::Version3 ? "3" : "3.5";
}

/// Returns true if `text` is valid UTF-8 (RFC 3629).
bool IsUtf8(std::string_view text) {
  constexpr std::uint32_t lowest[] = {0, 0, 0x80, 0x800, 0x10000};  // by the length in bytes
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at++]);
    const int length = std::countl_one(first);  // 0 for ASCII
    if (length == 1 || length > 4) return false;
    std::uint32_t code = first & (0xFFU >> (length + 1));
    for (int i = 1; i < length; ++i, ++at) {
      if (at == text.size() || (text[at] & 0xC0) != 0x80) return false;
      code = code << 6 | (static_cast<unsigned char>(text[at]) & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < lowest[length] || code > 0x10FFFF || isSurrogate) return false;
  }
  return true;
}

std::string Utf8(const std::string& text) {
  if (IsUtf8(text)) return text;
  std::string converted;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      converted += c;
    } else {
      converted += {static_cast<char>(0xC0 | code >> 6), static_cast<char>(0x80 | (code & 0x3F))};
    }
  }
  return converted;
}

/// Returns `text` in UTF-8 without control characters. Those from 0x80 to 0x9F have two bytes, the first
/// 0xC2.
std::string Visible(const std::string& text) {
  std::string visible;
  const std::string all = Utf8(text);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const bool isHigh = all[i] == '\xC2' && static_cast<unsigned char>(all[i + 1]) < 0xA0;
    const auto code = static_cast<unsigned char>(all[isHigh ? ++i : i]);
    if (isHigh || code < 0x20 || code == 0x7F) {
      std::array<char, 5> escape{};
      std::snprintf(escape.data(), escape.size(), "\\x%02X", code);
      visible += escape.data();
    } else {
      visible += all[i];
    }
  }
  return visible;
}

std::string Ascii(const json& value, int indent) {
  return value.dump(indent, ' ', true);
}

}  // namespace

void Print(const Report& report, std::ostream& out) {
  if (report.image) {
    out << "DiscJuggler image, version " << VersionName(report.image->version) << ", "
        << report.image->sessions << (report.image->sessions == 1 ? " session\n" : " sessions\n");
    for (const cdi::Track& track : report.image->tracks) {
      out << "  session " << track.session + 1 << ": " << ModeName(track.mode) << ", " << track.length
          << " sectors of " << track.sectorSize << " bytes from LBA " << track.lba << '\n';
    }
  }
  if (!report.bootHeader.empty()) out << "Boot header\n";
  for (const HeaderField& field : report.bootHeader) {
    out << "  " << field.name << ": " << Visible(field.text) << '\n';
  }
  if (report.volume) {
    out << "Volume \"" << Visible(report.volume->name) << "\"\n";
    for (const FileEntry& file : report.volume->files) {
      out << "  " << Visible(file.path) << "  " << file.size << " bytes\n";
    }
  }
  if (report.problems.empty()) out << "No problems found.\n";
  for (const Problem& problem : report.problems) {
    out << SeverityName(problem.severity) << ": " << Visible(problem.text) << " [" << problem.id << "]\n";
  }
}

void PrintJson(const Report& report, std::ostream& out) {
  json all{{"tracks", json::array()}, {"bootHeader", json::object()}, {"problems", json::array()}};
  if (report.image) {
    all["version"] = VersionName(report.image->version);
    all["sessions"] = report.image->sessions;
    for (const cdi::Track& track : report.image->tracks) {
      all["tracks"].push_back({{"session", track.session + 1},
                               {"mode", ModeName(track.mode)},
                               {"start", track.lba},
                               {"length", track.length},
                               {"sectorSize", track.sectorSize}});
    }
  }
  for (const HeaderField& field : report.bootHeader) all["bootHeader"][field.name] = Utf8(field.text);
  if (report.volume) all["volume"] = Utf8(report.volume->name);
  for (const Problem& problem : report.problems) {
    all["problems"].push_back(
        {{"id", problem.id}, {"severity", SeverityName(problem.severity)}, {"text", Utf8(problem.text)}});
  }

  out << "{\n  \"files\": [";  // one by one, because there can be many
  const char* separator = "\n    ";
  for (const FileEntry& file :
       report.volume ? std::span(report.volume->files) : std::span<const FileEntry>()) {
    out << separator << Ascii({{"path", Utf8(file.path)}, {"size", file.size}}, -1);
    separator = ",\n    ";
  }
  out << "\n  ]," << Ascii(all, 2).substr(1) << '\n';
}

}  // namespace cdicheck
