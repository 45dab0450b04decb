// Starts a Windows program and presses OK in each message box that it shows, as a user would. Prints what the
// boxes said, those with an icon marked, and ends with the program's exit status.
// Usage: answer [--lock FILE] PROGRAM [ARGUMENT ...]; the file is kept open for nobody else meanwhile.

#include <windows.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

std::string TextOf(HWND window) {
  std::array<char, 1024> text{};
  ::GetWindowTextA(window, text.data(), static_cast<int>(text.size()));
  std::string printed;
  for (const char c : std::string(text.data())) {
    if (c != '\r') printed += c;
  }
  return printed;
}

BOOL CALLBACK Answer(HWND window, LPARAM process) {
  DWORD owner = 0;
  ::GetWindowThreadProcessId(window, &owner);
  std::array<char, 16> kind{};
  ::GetClassNameA(window, kind.data(), static_cast<int>(kind.size()));
  const HWND text = ::GetDlgItem(window, 0xFFFF);
  const HWND ok =
      ::GetDlgItem(window, IDOK) != nullptr ? ::GetDlgItem(window, IDOK) : ::GetDlgItem(window, IDCANCEL);
  if (owner != static_cast<DWORD>(process) || std::string(kind.data()) != "#32770" || text == nullptr ||
      !::IsWindowVisible(window)) {
    return TRUE;
  }
  HWND icon = nullptr;
  for (HWND child = ::GetWindow(window, GW_CHILD); child != nullptr;
       child = ::GetWindow(child, GW_HWNDNEXT)) {
    if ((::GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON && ::IsWindowVisible(child))
      icon = child;
  }
  const std::string caption = TextOf(window);
  // A box without an icon has an empty place for one.
  const bool hasIcon = icon != nullptr && ::SendMessageA(icon, STM_GETICON, 0, 0) != 0;
  std::printf("%s%s%s\n", hasIcon ? "[icon] " : "", TextOf(text).c_str(),
              caption.empty() ? "" : (" [caption " + caption + "]").c_str());
  std::fflush(stdout);
  ::PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(::GetDlgCtrlID(ok)), 0);
  for (int waited = 0; ::IsWindow(window) && waited < 5000; ++waited) ::Sleep(1);
  return TRUE;
}

}  // namespace

int main(int argc, char** argv) {
  std::string line = ::GetCommandLineA();
  HANDLE lock = INVALID_HANDLE_VALUE;
  if (argc > 3 && std::string(argv[1]) == "--lock") {
    lock = ::CreateFileA(argv[2], GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (lock == INVALID_HANDLE_VALUE) return 99;
  }
  // The program's own line, to the character, begins at its name.
  const std::string program = lock == INVALID_HANDLE_VALUE ? argv[1] : argv[3];
  line = line.substr(line.find(program) - (line[line.find(program) - 1] == '"' ? 1 : 0));

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
