#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The fields of the structures on a disc as data, and how to read them.
namespace disc {

/// The offset and the width of a field in its block, in bytes.
struct Field {
  std::size_t offset;
  std::size_t width;
};

/// Returns the number in a field of at most four bytes, lowest byte first.
inline std::uint32_t ReadNumber(std::span<const std::byte> block, Field field) {
  std::uint32_t number = 0;
  for (std::size_t i = field.width; i-- > 0;) {
    number = number << 8 | static_cast<std::uint32_t>(block[field.offset + i]);
  }
  return number;
}

/// Returns the number that a field of eight bytes contains twice, lowest and highest byte first (ECMA-119,
/// 7.3.3), or nothing if the two differ.
inline std::optional<std::uint32_t> ReadBothOrders(std::span<const std::byte> block, Field field) {
  const auto both = block.subspan(field.offset, field.width);
  if (!std::equal(both.begin(), both.end(), both.rbegin())) return std::nullopt;
  return ReadNumber(block, {field.offset, field.width / 2});
}

/// Writes a number to a field of at most eight bytes, lowest byte first.
inline void WriteNumber(std::span<std::byte> block, Field field, std::uint64_t number) {
  for (std::size_t i = 0; i < field.width; ++i, number >>= 8) {
    block[field.offset + i] = static_cast<std::byte>(number);
  }
}

/// Returns the text in a field, with its padding.
inline std::string_view ReadText(std::span<const std::byte> block, Field field) {
  const auto bytes = block.subspan(field.offset, field.width);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Returns `text` without the characters of `padding` at its end.
inline std::string TrimEnd(std::string_view text, std::string_view padding) {
  return std::string(text.substr(0, text.find_last_not_of(padding) + 1));
}

}  // namespace disc
