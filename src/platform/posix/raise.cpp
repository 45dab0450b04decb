#include "platform/posix/raise.h"

#include <cerrno>

#include "errors/runtime_error.h"

namespace platform::posix {

void Raise(int error) {
  switch (error) {
    case ENOMEM:
      throw OutOfMemory();
    case EINVAL:
    case EILSEQ:
    case ELOOP:
    case ENAMETOOLONG:
      throw RuntimeError(52, L"Bad file name or number");
    case ENOENT:
      throw RuntimeError(53, L"File not found");
    case EEXIST:
      throw RuntimeError(58, L"File already exists");
    case ENOSPC:
    case EDQUOT:
      throw RuntimeError(61, L"Disk full");
    case EMFILE:
    case ENFILE:
      throw RuntimeError(67, L"Too many files");
    case EBUSY:
    case ETXTBSY:
    case EAGAIN:
      throw RuntimeError(70, L"Permission denied");
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      throw RuntimeError(75, L"Path/File access error");
    case ENOTDIR:
      throw RuntimeError(76, L"Path not found");
    default:
      throw RuntimeError(57, L"Device I/O error");
  }
}

void RaiseFromCreate(int error) {
  Raise(error == ENOENT ? ENOTDIR : error);
}

}  // namespace platform::posix
