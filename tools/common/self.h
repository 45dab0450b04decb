#pragma once

namespace tools {

/// The name that a program prints before its messages, and its exit status after a failure.
struct Program {
  const char* name;
  int failureStatus;
};

/// Each program defines its own, as a constant, because it is needed before `main`.
extern const Program Self;

}  // namespace tools
