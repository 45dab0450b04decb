// Starts a Windows program and presses OK in each message box that it shows, as a user would. Prints what the
// boxes said, those with an icon marked, and ends with the program's exit status.
// Usage: press_ok PROGRAM [ARGUMENT ...]; in the environment PRESS_OK_TEMP, the program's folder for
// temporary files, and PRESS_OK_LOCK, a file that is kept open for nobody else meanwhile.

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int TextControl = 0xFFFF, IconControl = 1088;

std::string TextOf(HWND window) {
  std::array<char, 1024> text{};
  ::GetWindowTextA(window, text.data(), static_cast<int>(text.size()));
  return text.data();
}

BOOL CALLBACK Answer(HWND window, LPARAM process) {
  DWORD owner = 0;
  ::GetWindowThreadProcessId(window, &owner);
  const HWND text = ::GetDlgItem(window, TextControl);
  if (owner != static_cast<DWORD>(process) || text == nullptr || !::IsWindowVisible(window)) return TRUE;

  // A box without an icon has an empty place for one.
  const bool hasIcon = ::SendDlgItemMessageA(window, IconControl, STM_GETICON, 0, 0) != 0;
  std::printf("%s%s%s\n", hasIcon ? "[icon] " : "", TextOf(text).c_str(), TextOf(window).c_str());
  std::fflush(stdout);
  // Where OK is the only button, it has the number of the one that cancels.
  ::PostMessageA(window, WM_COMMAND, ::GetDlgItem(window, IDOK) != nullptr ? IDOK : IDCANCEL, 0);
  for (int waited = 0; ::IsWindow(window) && waited < 5000; ++waited) ::Sleep(1);
  return TRUE;
}

}  // namespace

int main(int, char** argv) {
  if (const char* temp = std::getenv("PRESS_OK_TEMP")) ::SetEnvironmentVariableA("TMP", temp);
  if (const char* lock = std::getenv("PRESS_OK_LOCK"))
    ::CreateFileA(lock, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);

  // The program's own line, to the character, begins at its name.
  std::string line = ::GetCommandLineA();
  const std::size_t name = line.find(argv[1]);
  line = line.substr(name - (line[name - 1] == '"' ? 1 : 0));

  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  const DWORD flags = DETACHED_PROCESS;
  if (!::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, flags, nullptr, nullptr, &startup,
                        &process))
    return 99;
  while (::WaitForSingleObject(process.hProcess, 10) == WAIT_TIMEOUT)
    ::EnumWindows(Answer, static_cast<LPARAM>(process.dwProcessId));
  DWORD status = 0;
  ::GetExitCodeProcess(process.hProcess, &status);
  return static_cast<int>(status);
}
