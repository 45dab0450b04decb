#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/encoding.h"
#include "platform/posix/spawn.h"

// The user is at a terminal, or at a display where zenity can show a box, or is absent.

namespace platform {
namespace {

bool HasTerminal() {
  return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

bool HasDisplay() {
  const auto isSet = [](const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
  };
  return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY");
}

void Print(const std::string& text) {
  std::string_view rest = text;
  while (!rest.empty()) {
    const ssize_t count = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;  // there is no reader left
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
}

/// Reads one line from the terminal, without its end. Returns nothing at the end of input.
std::optional<std::string> ReadLine() {
  std::string line;
  char c = 0;
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, &c, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    if (c == '\n') return line;
    line += c;
  }
}

/// Returns what zenity printed, or nothing if the user did not confirm or zenity cannot be started. It prints
/// every path unchanged only in a UTF-8 locale.
std::optional<std::string> RunZenity(std::vector<std::string> options) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  const posix::Descriptor readEnd(ends[0]);
  posix::Descriptor writeEnd(ends[1]);
  options.insert(options.begin(), {"env", "LC_ALL=C.UTF-8", "zenity"});
  const auto zenity = posix::Spawn("env", options, writeEnd.Number(), -1);
  writeEnd.Close();  // otherwise the loop never sees the end of the pipe

  std::string printed;
  std::array<char, 4096> buffer{};
  for (ssize_t count = 1; count != 0;) {
    count = ::read(readEnd.Number(), buffer.data(), buffer.size());
    if (count < 0 && errno != EINTR) return std::nullopt;
    if (count > 0) printed.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (!zenity || !posix::WaitForSuccess(*zenity)) return std::nullopt;
  return printed;
}

std::optional<Text> AskForPath(const Text& title, std::vector<std::string> zenityOptions) {
  std::optional<std::string> answer;
  if (HasTerminal()) {
    Print(posix::Narrow(title) + " ");
    answer = ReadLine();
  } else if (HasDisplay()) {
    zenityOptions.insert(zenityOptions.begin(), {"--file-selection", "--title=" + posix::Narrow(title)});
    answer = RunZenity(std::move(zenityOptions));
    if (answer && answer->ends_with('\n')) answer->pop_back();
  }
  if (!answer || answer->find_first_not_of(' ') == std::string::npos) return std::nullopt;
  return posix::Widen(*answer);
}

}  // namespace

void ShowMessage(const Text& text, int style) {
  std::string message = posix::Narrow(text);
  std::erase(message, '\r');

  if (!HasTerminal() && HasDisplay()) {
    std::vector<std::string> options{"--error", "--no-markup", "--title=", "--text=" + message};
    if (style != StopMessage) {
      options.front() = "--info";
      options.emplace_back("--icon-name=");  // without an icon
    }
    if (RunZenity(options)) return;
    // Without zenity, or if it failed, the message must still appear. Zenity ends in the same way if the box
    // was closed with Escape, and a message that appears twice is better than one that is lost.
  }
  Print(message.ends_with('\n') ? message : message + "\n");
  if (!HasTerminal()) return;
  Print("[Enter]");
  ReadLine();
}

std::optional<Text> AskForFolder(const Text& title) {
  return AskForPath(title, {"--directory"});
}

std::optional<Text> AskForFileToSave(const SaveDialog& dialog) {
  std::vector<std::string> options{"--save"};
  const Text& list = dialog.filterList;
  for (std::size_t at = 0; at < list.size();) {
    const Text shown = mMain::CutAtNul(list.substr(at));
    const Text pattern = mMain::CutAtNul(list.substr(at + shown.size() + 1));
    at += shown.size() + pattern.size() + 2;
    options.push_back("--file-filter=" + posix::Narrow(shown) + " | " +
                      (pattern == L"*.*" ? "*" : posix::Narrow(pattern)));
  }
  return AskForPath(dialog.title, options);
}

}  // namespace platform
