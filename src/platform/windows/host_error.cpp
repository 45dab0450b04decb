#include "platform/windows/host_error.h"

#include <windows.h>

#include "platform/file_errors.h"

namespace platform::windows {

void RaiseLastError() {
  switch (::GetLastError()) {
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      throw OutOfMemory;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      throw BadFileName;
    case ERROR_FILE_NOT_FOUND:
      throw FileNotFound;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      throw FileAlreadyExists;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      throw DiskFull;
    case ERROR_TOO_MANY_OPEN_FILES:
      throw TooManyFiles;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      throw PermissionDenied;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      throw AccessError;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DIRECTORY:
      throw PathNotFound;
    default:
      throw DeviceError;
  }
}

}  // namespace platform::windows
