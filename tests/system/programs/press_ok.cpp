// Starts a Windows program and presses OK in each message box that it shows. Prints the text of each box,
// after
// "[icon] " if it has an icon, and ends with the program's exit status.
// Usage: press_ok PROGRAM [ARGUMENT ...]; PRESS_OK_TEMP in the environment is its folder for temporary files.

#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <cstdlib>
#include <string>

constexpr int TextControl = 0xFFFF, IconControl = 1088;

static BOOL CALLBACK Answer(HWND window, LPARAM process) {
  DWORD owner = 0;
  ::GetWindowThreadProcessId(window, &owner);
  char text[1024] = "", title[1024] = "";
  if (owner != static_cast<DWORD>(process) || !::IsWindowVisible(window)) return TRUE;
  if (::GetDlgItemTextA(window, TextControl, text, sizeof text) == 0) return TRUE;
  ::GetWindowTextA(window, title, sizeof title);

  // A box without an icon has an empty control for one.
  const bool hasIcon = ::SendDlgItemMessageA(window, IconControl, STM_GETICON, 0, 0) != 0;
  std::printf("%s%s%s\n", hasIcon ? "[icon] " : "", text, title);
  std::fflush(stdout);
  // If OK is the only button, it has the number of the Cancel button.
  ::PostMessageA(window, WM_COMMAND, ::GetDlgItem(window, IDOK) != nullptr ? IDOK : IDCANCEL, 0);
  for (int waited = 0; ::IsWindow(window) && waited < 5000; ++waited) ::Sleep(1);
  return TRUE;
}

int main() {
  if (const char* temp = std::getenv("PRESS_OK_TEMP")) ::SetEnvironmentVariableA("TMP", temp);

  // The program's exact command line begins at its name.
  std::wstring line = ::GetCommandLineW();
  int count = 0;
  const std::size_t name = line.find(::CommandLineToArgvW(line.c_str(), &count)[1]);
  line = line.substr(name - (line[name - 1] == L'"' ? 1 : 0));

  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr,
                        &startup, &process))
    return 99;
  while (::WaitForSingleObject(process.hProcess, 10) == WAIT_TIMEOUT)
    ::EnumWindows(Answer, static_cast<LPARAM>(process.dwProcessId));
  DWORD status = 0;
  ::GetExitCodeProcess(process.hProcess, &status);
  return static_cast<int>(status);
}
