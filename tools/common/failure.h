#pragma once

#include <cstdio>
#include <cstdlib>
#include <new>

namespace tools {

/// What a program says of itself when it fails.
struct Program {
  const char* name;
  int failureStatus;
};

/// Each program defines its own, as a constant: it is needed before `main`.
extern const Program Self;

inline constexpr const char* OutOfMemory = "out of memory";

/// Tells the reason on standard error. Gives the exit status, and allocates nothing.
inline int Failure(const char* reason) {
  std::fprintf(stderr, "%s: %s\n", Self.name, reason);
  return Self.failureStatus;
}

/// Until a program does its work, an allocation that fails ends it on the spot: nobody would catch what is
/// thrown.
const std::new_handler HandlerBefore = std::set_new_handler([] { std::_Exit(Failure(OutOfMemory)); });

}  // namespace tools
