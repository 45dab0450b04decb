#pragma once

#include <array>
#include <string_view>

namespace mMain {

using std::string_view_literals::operator""sv;

/// Sequences of bytes in the tables of many programs. They are longer than the slices of 32 bytes that
/// scrambling permutes. A literal is split where a digit follows a NUL.
inline constexpr std::array UnscrambledSignatures{
    "0123456789abcdefghijklmnopqrstuvwxyz"sv,
    "abcdefghijklmnopqrstuvwxyz0123456789"sv,
    "abcdefghijklmnopqrstuvwxyz1234567890"sv,
    "1234567890abcdefghijklmnopqrstuvwxyz"sv,
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ.0123456789-"sv,
    "$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"sv,
    "abcdefghijklEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()"sv,
    "0123456789abcdef\0\0\0\0(null)\0\0"
    "0123456789ABCDEF"sv,
    "0123456789ABCDEF\0\0\0\0Inf\0NaN\0"
    "0123456789abcdef\0\0\0\0(null)\0\0\0"sv,
    "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"sv,
    "#\0\0\0'\0\0\0*\0\0\0-\0\0\0/\0\0\0"
    "2\0\0\0"
    "4\0\0\0"
    "7\0\0\0"
    "9\0\0\0;\0\0\0=\0\0\0?\0\0\0A\0\0\0C\0\0\0E\0\0\0G\0\0\0I\0\0\0J\0\0\0L\0\0\0N\0\0\0"
    "O\0\0\0Q\0\0\0R\0\0\0T\0\0\0U\0\0\0W\0\0\0X\0\0\0Z\0\0\0"sv,
};

}  // namespace mMain
