#pragma once

#include "errors/runtime_error.h"

/// The failures of files as every host raises them. The reporter knows some of the descriptions to the
/// letter.
namespace platform {

inline RuntimeError BadFileName() {
  return {52, L"Bad file name or number"};
}
inline RuntimeError FileNotFound() {
  return {53, L"File not found"};
}
inline RuntimeError DeviceError() {
  return {57, L"Device I/O error"};
}
inline RuntimeError FileAlreadyExists() {
  return {58, L"File already exists"};
}
inline RuntimeError DiskFull() {
  return {61, L"Disk full"};
}
inline RuntimeError TooManyFiles() {
  return {67, L"Too many files"};
}
inline RuntimeError PermissionDenied() {
  return {70, L"Permission denied"};
}
inline RuntimeError AccessError() {
  return {75, L"Path/File access error"};
}
inline RuntimeError PathNotFound() {
  return {76, L"Path not found"};
}

}  // namespace platform
