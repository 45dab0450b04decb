#pragma once

#include <concepts>
#include <cstdint>
#include <exception>
#include <utility>

/// The failure of a primitive operation, such as opening a file. It leaves all open steps at once and reaches
/// the one catch in `Main`.
struct RuntimeError : std::exception {
  RuntimeError(std::int32_t number, const wchar_t* description) : Number(number), Description(description) {}

  std::int32_t Number;
  const wchar_t* Description;  ///< a literal, so that reporting a lack of memory needs no memory
};

/// The failures that the logic raises. The platform layer raises the others.
inline const RuntimeError InvalidCall{5, L"Invalid procedure call or argument"};
inline const RuntimeError Overflow{6, L"Overflow"};
inline const RuntimeError OutOfMemory{7, L"Out of memory"};
inline const RuntimeError SubscriptOutOfRange{9, L"Subscript out of range"};

/// Returns `value` as a `Narrow`, such as a signed 16-bit position. Raises 6 if it does not fit.
template <std::signed_integral Narrow>
Narrow FitInto(std::int64_t value) {
  if (!std::in_range<Narrow>(value)) throw Overflow;
  return static_cast<Narrow>(value);
}
