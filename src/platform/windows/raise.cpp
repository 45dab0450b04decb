#include "platform/windows/raise.h"

#include <windows.h>

#include "errors/runtime_error.h"

namespace platform::windows {

void RaiseLastError() {
  switch (::GetLastError()) {
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      throw OutOfMemory();
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      throw RuntimeError(52, L"Bad file name or number");
    case ERROR_FILE_NOT_FOUND:
      throw RuntimeError(53, L"File not found");
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      throw RuntimeError(58, L"File already exists");
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      throw RuntimeError(61, L"Disk full");
    case ERROR_TOO_MANY_OPEN_FILES:
      throw RuntimeError(67, L"Too many files");
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      throw RuntimeError(70, L"Permission denied");
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      throw RuntimeError(75, L"Path/File access error");
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DIRECTORY:
      throw RuntimeError(76, L"Path not found");
    default:
      throw RuntimeError(57, L"Device I/O error");
  }
}

}  // namespace platform::windows
