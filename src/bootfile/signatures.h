#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace mMain {
namespace signature_parts {

template <std::size_t A, std::size_t B>
consteval std::array<char, A + B - 2> Joined(const char (&first)[A], const char (&second)[B]) {
  std::array<char, A + B - 2> joined{};
  for (std::size_t i = 0; i < A - 1; ++i) joined[i] = first[i];
  for (std::size_t i = 0; i < B - 1; ++i) joined[A - 1 + i] = second[i];
  return joined;
}

template <std::size_t N>
consteval std::array<char, N - 1> WithNulForDot(const char (&text)[N]) {
  std::array<char, N - 1> bytes{};
  for (std::size_t i = 0; i < N - 1; ++i) bytes[i] = text[i] == '.' ? '\0' : text[i];
  return bytes;
}

template <std::size_t N>
consteval std::string_view View(const std::array<char, N>& bytes) {
  return {bytes.data(), N};
}

inline constexpr char Letters[] = "abcdefghijklmnopqrstuvwxyz";
inline constexpr char DigitsFrom0[] = "0123456789";
inline constexpr char DigitsFrom1[] = "1234567890";

inline constexpr auto From0ThenLetters = Joined(DigitsFrom0, Letters);
inline constexpr auto LettersThenFrom0 = Joined(Letters, DigitsFrom0);
inline constexpr auto LettersThenFrom1 = Joined(Letters, DigitsFrom1);
inline constexpr auto From1ThenLetters = Joined(DigitsFrom1, Letters);
inline constexpr auto LowerHexThenUpper = WithNulForDot("0123456789abcdef....(null)..0123456789ABCDEF");
inline constexpr auto UpperHexThenLower =
    WithNulForDot("0123456789ABCDEF....Inf.NaN.0123456789abcdef....(null)...");
inline constexpr auto WideCharacters = WithNulForDot(
    "#...'...*...-.../...2...4...7...9...;...=...?...A...C...E...G...I...J...L...N...O...Q...R...T...U..."
    "W...X...Z...");

}  // namespace signature_parts

/// Runs of bytes that real programs carry in their tables of characters and number formats, and that
/// scrambling tears apart: each is longer than one of its slices of 32 bytes.
inline constexpr std::array<std::string_view, 11> UnscrambledSignatures{
    signature_parts::View(signature_parts::From0ThenLetters),
    signature_parts::View(signature_parts::LettersThenFrom0),
    signature_parts::View(signature_parts::LettersThenFrom1),
    signature_parts::View(signature_parts::From1ThenLetters),
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ.0123456789-",
    "$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~",
    "abcdefghijklEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()",
    signature_parts::View(signature_parts::LowerHexThenUpper),
    signature_parts::View(signature_parts::UpperHexThenLower),
    "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND",
    signature_parts::View(signature_parts::WideCharacters),
};

}  // namespace mMain
