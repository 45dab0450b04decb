#include "platform/posix/encoding.h"

#include <algorithm>

#include "platform/platform.h"

namespace platform {
namespace posix {
namespace {

constexpr wchar_t EscapeBase = 0xDC00;

bool IsEscapedByte(wchar_t c) {
  return c >= EscapeBase + 0x80 && c <= EscapeBase + 0xFF;
}

/// The first code point of a text and its length in bytes. The length is 0 if the bytes are not valid.
struct Decoded {
  wchar_t codePoint;
  std::size_t length;
};

Decoded DecodeFirst(std::string_view bytes) {
  const auto lead = static_cast<unsigned char>(bytes[0]);
  if (lead < 0x80) return {static_cast<wchar_t>(lead), 1};

  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) return {0, 0};

  auto codePoint = static_cast<char32_t>(lead & (0xFF >> (length + 1)));
  for (const char c : bytes.substr(1, length - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) return {0, 0};
    codePoint = (codePoint << 6) | (byte & 0x3F);
  }
  const bool overlong = (length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000);
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if (overlong || surrogate || codePoint > 0x10FFFF) return {0, 0};
  return {static_cast<wchar_t>(codePoint), length};
}

void AppendUtf8(std::string& bytes, char32_t c) {
  const auto trail = [&](int shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    bytes += static_cast<char>(c);
  } else if (c < 0x800) {
    bytes += {static_cast<char>(0xC0 | (c >> 6)), trail(0)};
  } else if (c < 0x10000) {
    bytes += {static_cast<char>(0xE0 | (c >> 12)), trail(6), trail(0)};
  } else {
    bytes += {static_cast<char>(0xF0 | (c >> 18)), trail(12), trail(6), trail(0)};
  }
}

}  // namespace

Text Widen(std::string_view bytes) {
  Text text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const Decoded first = DecodeFirst(bytes);
    text += first.length != 0 ? first.codePoint
                              : static_cast<wchar_t>(EscapeBase + static_cast<unsigned char>(bytes[0]));
    bytes.remove_prefix(std::max<std::size_t>(first.length, 1));
  }
  return text;
}

std::string Narrow(const Text& text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const wchar_t c : text) {
    if (IsEscapedByte(c)) {
      bytes += static_cast<char>(c - EscapeBase);
    } else {
      AppendUtf8(bytes, static_cast<char32_t>(c));
    }
  }
  return bytes;
}

std::string HostPath(const Text& path) {
  return Narrow(mMain::CutAtNul(path));
}

}  // namespace posix

const wchar_t PathSeparator = L'/';

// The 8-bit code page is ISO 8859-1, whose characters are the first 256 of Unicode.

std::string ToBytes(const Text& text) {
  std::string bytes;
  for (const wchar_t c : text) bytes += static_cast<char32_t>(c) <= 0xFF ? static_cast<char>(c) : '?';
  return bytes;
}

Text FromBytes(const std::string& bytes) {
  Text text;
  for (const char c : bytes) text += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return text;
}

/// Only letters whose capital is in ISO 8859-1 too, in every locale.
Text UpperCase(const Text& text) {
  const auto capital = [](wchar_t c) -> wchar_t {
    const bool ascii = c >= L'a' && c <= L'z';
    const bool latin = c >= 0xE0 && c <= 0xFE && c != 0xF7;
    return ascii || latin ? static_cast<wchar_t>(c - 0x20) : c;
  };
  Text upper = text;
  std::ranges::transform(upper, upper.begin(), capital);
  return upper;
}

}  // namespace platform
