#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// What stands on a disc, as data: the fields of its structures, and how they are read.
namespace disc {

/// Where a field stands within its block, and how long it is, in bytes.
struct Field {
  std::size_t offset;
  std::size_t width;
};

/// The number in a field of at most four bytes, the lowest of them first.
inline std::uint32_t ReadNumber(std::span<const std::byte> block, Field field) {
  std::uint32_t number = 0;
  for (std::size_t i = field.width; i-- > 0;) {
    number = number << 8 | static_cast<std::uint32_t>(block[field.offset + i]);
  }
  return number;
}

/// The inverse, for a field of at most eight bytes.
inline void WriteNumber(std::span<std::byte> block, Field field, std::uint64_t number) {
  for (std::size_t i = 0; i < field.width; ++i, number >>= 8) {
    block[field.offset + i] = static_cast<std::byte>(number);
  }
}

/// The text in a field as it stands, with what fills the field up.
inline std::string_view ReadText(std::span<const std::byte> block, Field field) {
  const auto bytes = block.subspan(field.offset, field.width);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// `text` without the `padding` at its end, any of these characters.
inline std::string TrimEnd(std::string_view text, std::string_view padding) {
  return std::string(text.substr(0, text.find_last_not_of(padding) + 1));
}

}  // namespace disc
