#pragma once

#include "errors/runtime_error.h"
#include "platform/platform.h"
#include "scratch.h"

namespace platform {

/// For names in ASCII, which every host converts alike.
inline Text Wide(const std::filesystem::path& path) {
  return path.wstring();
}

/// The number that `operation` raises; 0 if it raises nothing.
template <typename Operation>
int Raised(Operation operation) {
  try {
    operation();
    return 0;
  } catch (const RuntimeError& error) {
    return error.Number;
  }
}

inline std::span<const std::byte> Bytes(const std::string& text) {
  return std::as_bytes(std::span(text));
}

}  // namespace platform
