#pragma once

#include <map>
#include <vector>

#include "run/run_state.h"
#include "support.h"

/// A host in memory: a backslash as the separator, upper case for ASCII only, and one folder.
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
  Text messages;                       ///< each after its style
  bool hasMemory = true;
  int failAt = 0;  ///< the operation that fails with error 57, counted from 1; 0: none

  int operations = 0;
  bool deletionFailed = false;
  Text open;  ///< the path of the open file
  std::size_t position = 0;
};

inline Host host;

/// What EndProcess throws.
struct ProcessEnd {
  int status;
};

/// Returns the exit status if `procedure` ends the process, otherwise 0.
inline int StatusOf(const std::function<void()>& procedure) {
  try {
    procedure();
  } catch (const ProcessEnd& end) {
    return end.status;
  }
  return 0;
}

/// Starts a new run on a new host.
inline void Reset(const Text& commandLine = L"") {
  host = Host();
  mMain::RunState = {};
  mMain::RunState.CommandLine = host.commandLine = commandLine;
}

}  // namespace fake
