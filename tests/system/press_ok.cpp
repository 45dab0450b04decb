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

std::string TextOf(HWND window) {
  std::array<char, 1024> text{};
  ::GetWindowTextA(window, text.data(), static_cast<int>(text.size()));
  return text.data();
}

/// A box without an icon has an empty place for one.
bool HasIcon(HWND box) {
  HWND icon = nullptr;
  for (HWND child = ::GetWindow(box, GW_CHILD); child != nullptr; child = ::GetWindow(child, GW_HWNDNEXT)) {
    const bool isIcon = (::GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
    if (isIcon && ::IsWindowVisible(child)) icon = child;
  }
  return icon != nullptr && ::SendMessageA(icon, STM_GETICON, 0, 0) != 0;
}

BOOL CALLBACK Answer(HWND window, LPARAM process) {
  DWORD owner = 0;
  ::GetWindowThreadProcessId(window, &owner);
  std::array<char, 16> kind{};
  ::GetClassNameA(window, kind.data(), static_cast<int>(kind.size()));
  const HWND text = ::GetDlgItem(window, 0xFFFF);
  const bool isBox = owner == static_cast<DWORD>(process) && std::string(kind.data()) == "#32770";
  if (!isBox || text == nullptr || !::IsWindowVisible(window)) return TRUE;

  const std::string caption = TextOf(window);
  std::printf("%s%s%s\n", HasIcon(window) ? "[icon] " : "", TextOf(text).c_str(),
              caption.empty() ? "" : (" [caption " + caption + "]").c_str());
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
  if (!::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr,
                        &startup, &process)) {
    std::printf("%s did not start\n", line.c_str());
    return 99;
  }
  while (::WaitForSingleObject(process.hProcess, 10) == WAIT_TIMEOUT) {
    ::EnumWindows(Answer, static_cast<LPARAM>(process.dwProcessId));
  }
  DWORD status = 0;
  ::GetExitCodeProcess(process.hProcess, &status);
  return static_cast<int>(status);
}
