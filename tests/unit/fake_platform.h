#pragma once

#include <functional>
#include <map>
#include <vector>

#include "platform/platform.h"

/// A host in memory, with the backslash as its separator, upper case for ASCII only, and one folder.
namespace fake {

struct File {
  std::string bytes;
  platform::LocalTime changed{};
};

struct Host {
  Text commandLine;
  std::map<Text, File> files;
  platform::LocalTime now = std::chrono::local_days(std::chrono::January / 9 / 2027);
  std::int32_t ticks = 0;
  std::vector<Text> messages;  ///< "[style] text"
  int failAt = 0;              ///< the operation that fails with error 57, counted from 1; 0: none

  int operations = 0;
  Text open;  ///< the open file's path; empty: none
  std::size_t position = 0;
};

inline Host host;

/// A new host and a new run.
void Reset(const Text& commandLine = L"");

/// The number of the error that leaves `procedure`, or the exit status if the process ends in it, or 0.
int EndOf(const std::function<void()>& procedure);

}  // namespace fake
