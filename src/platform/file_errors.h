#pragma once

#include "errors/runtime_error.h"

/// The failures of file operations, the same on every host. The reporter compares descriptions exactly.
namespace platform {

inline const RuntimeError BadFileName{52, L"Bad file name or number"};
inline const RuntimeError FileNotFound{53, L"File not found"};
inline const RuntimeError DeviceError{57, L"Device I/O error"};
inline const RuntimeError FileAlreadyExists{58, L"File already exists"};
inline const RuntimeError DiskFull{61, L"Disk full"};
inline const RuntimeError TooManyFiles{67, L"Too many files"};
inline const RuntimeError PermissionDenied{70, L"Permission denied"};
inline const RuntimeError AccessError{75, L"Path/File access error"};
inline const RuntimeError PathNotFound{76, L"Path not found"};

}  // namespace platform
