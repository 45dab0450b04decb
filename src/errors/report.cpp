#include "errors/report.h"

#include <array>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "errors/runtime_error.h"
#include "platform/file_errors.h"
#include "platform/platform.h"

namespace mErrHndl {
namespace {

struct KnownError {
  std::int32_t number;
  const wchar_t* description;
  const wchar_t* message;
};

constexpr std::array<KnownError, 4> KnownErrors{{
    {6, L"Overflow", L"Integer overflow."},
    {53, L"File not found: zlib.dll", L"Please install zlib and try again."},
    {70, L"Permission denied", L"File locked by another application"},
    {75, L"Path/File access error", L"Cannot read/write file - Already in use"},
}};

/// The library's two exceptions that a run is known to meet both mean that a buffer could not be had.
RuntimeError GetPendingError() {
  try {
    throw;
  } catch (const RuntimeError& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return OutOfMemory;
  } catch (const std::length_error&) {
    return OutOfMemory;
  } catch (...) {
    return platform::DeviceError;
  }
}

[[noreturn]] void ShowAndEnd(const Text& message) {
  platform::ShowMessage(message, platform::PlainMessage);
  platform::EndProcess(platform::ExitFailure);
}

}  // namespace

void ReportRuntimeError() {
  const RuntimeError error = GetPendingError();
  for (const KnownError& known : KnownErrors) {
    if (error.Number != known.number) continue;
    if (std::wstring_view(error.Description) != known.description) return;
    ShowAndEnd(known.message);
  }
  ShowAndEnd(L"Run-time error: '" + std::to_wstring(error.Number) + L"'\r\n\r\n" + error.Description);
}

}  // namespace mErrHndl
