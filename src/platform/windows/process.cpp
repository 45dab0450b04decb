#include <windows.h>

#include <array>
#include <cstddef>
#include <string>

#include "platform/file_errors.h"
#include "platform/platform.h"
#include "platform/windows/encoding.h"

namespace platform {
namespace {

static_assert(sizeof(STARTUPINFOA) == 68);

Text ExecutablePath() {
  std::array<wchar_t, MAX_PATH> path{};
  const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  if (length == 0 || length == path.size()) throw DeviceError;  // a path that is cut off names another folder
  return {path.data(), length};
}

}  // namespace

Text RawCommandLine() {
  const Text line = ::GetCommandLineW();
  bool quoted = false;
  std::size_t nameEnd = 0;
  for (; nameEnd < line.size(); ++nameEnd) {
    if (line[nameEnd] == L'"') quoted = !quoted;
    if (!quoted && (line[nameEnd] == L' ' || line[nameEnd] == L'\t')) break;
  }
  return line.substr(nameEnd);
}

Text AppDir() {
  const Text path = ExecutablePath();
  return path.substr(0, path.rfind(PathSeparator) + 1);
}

Text ExecutableName() {
  const Text path = ExecutablePath();
  return path.substr(path.rfind(PathSeparator) + 1);
}

Text TempFolder() {
  std::string folder(256, '\0');
  ::GetTempPathA(static_cast<DWORD>(folder.size()), folder.data());
  return mMain::CutAtNul(windows::FromAnsi(folder));
}

void EndProcess(int status) {
  ::ExitProcess(static_cast<UINT>(status));
}

/// Windows programs without a console receive no such request.
void HoldInterruptsDuring(const std::function<void()>& work) {
  work();
}

void StartAndWait(const Text& commandLine, int showStyle) {
  std::string line = windows::ToAnsi(commandLine);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = static_cast<WORD>(showStyle);
  PROCESS_INFORMATION process{};
  // Nobody looks at the results: a tool that did not start has a zero handle, on which waiting fails at once.
  ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, NORMAL_PRIORITY_CLASS, nullptr, nullptr,
                   &startup, &process);
  ::WaitForSingleObject(process.hProcess, INFINITE);
  ::CloseHandle(process.hProcess);
}

std::int32_t TickCount() {
  return static_cast<std::int32_t>(::GetTickCount());
}

}  // namespace platform
