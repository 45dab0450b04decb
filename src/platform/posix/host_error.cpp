#include "platform/posix/host_error.h"

#include <cerrno>

#include "platform/file_errors.h"

namespace platform::posix {

void RaiseHostError(int error) {
  switch (error) {
    case ENOMEM:
      throw OutOfMemory;
    case EINVAL:
    case EILSEQ:
    case ELOOP:
    case ENAMETOOLONG:
      throw BadFileName;
    case ENOENT:
      throw FileNotFound;
    case EEXIST:
      throw FileAlreadyExists;
    case ENOSPC:
    case EDQUOT:
      throw DiskFull;
    case EMFILE:
    case ENFILE:
      throw TooManyFiles;
    case EBUSY:
    case ETXTBSY:
    case EAGAIN:
      throw PermissionDenied;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      throw AccessError;
    case ENOTDIR:
      throw PathNotFound;
    default:
      throw DeviceError;
  }
}

void RaiseHostErrorOnCreate(int error) {
  RaiseHostError(error == ENOENT ? ENOTDIR : error);
}

}  // namespace platform::posix
