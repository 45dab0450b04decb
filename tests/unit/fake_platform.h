#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "errors/runtime_error.h"
#include "platform/platform.h"
#include "run/run_state.h"

/// A host in memory, with the backslash as its separator and upper case for ASCII only.
namespace fake {

struct ProcessEnded {
  int status;
};

struct File {
  std::string bytes;
  std::int64_t second = 0;  ///< when it was last changed, on the clock of `Host::now`
};

struct Host {
  Text commandLine;
  Text executable = L"marrowvan.exe";
  Text tempFolder = L"C:\\Temp\\";
  std::map<Text, File> files;
  std::set<Text> folders;
  std::int64_t now = 1'800'000'000;    ///< seconds since 1970: 2027-01-15
  std::vector<std::int32_t> ticks{0};  ///< one for each question; the last one stays
  std::function<void(const Text& line)> tool;
  std::optional<Text> chosenFolder;
  std::optional<Text> savedFile;

  std::vector<Text> trace;     ///< what the run did, a line each
  std::vector<Text> messages;  ///< "[style] text"
  int raiseAt = 0;             ///< the operation that raises, counted from 1; 0: none
  RuntimeError raised{57, L"Device I/O error"};

  int operations = 0;
  std::optional<Text> open;
  std::size_t position = 0;
  std::optional<platform::SaveDialog> dialog;
};

inline Host host;

/// A new host and a new run. `tool` does what the four tools do.
void Reset(const Text& commandLine = L"");

/// The last path on a tool's command line, or the one behind "-o".
Text OutputOf(const Text& line);

/// Creates the output of the tool that `line` starts.
void Succeed(const Text& line);

/// What the run did, a line each; a line that repeats stands once with its count behind it.
Text Trace();

/// Runs `Main` to the end of the process; gives the exit status.
int Run();

}  // namespace fake
