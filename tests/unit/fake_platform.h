#pragma once

#include <map>
#include <vector>

#include "run/run_state.h"
#include "support.h"

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
  std::int32_t ticksPerTool = 0;
  std::chrono::seconds ageOfOutput{};  ///< of what a tool creates
  Text messages;                       ///< each with its style in front
  bool hasMemory = true;
  int failAt = 0;  ///< the operation that fails with error 57, counted from 1; 0: none

  int operations = 0;
  Text open;  ///< the path of the file that was opened last
  std::size_t position = 0;
};

inline Host host;

/// A new host and a new run.
inline void Reset(const Text& commandLine = L"") {
  host = Host();
  mMain::RunState = {};
  mMain::RunState.CommandLine = host.commandLine = commandLine;
}

}  // namespace fake
