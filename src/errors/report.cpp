#include "errors/report.h"

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
  RuntimeError error;
  const wchar_t* message;
};

const KnownError KnownErrors[] = {
    {Overflow, L"Integer overflow."},
    {{platform::FileNotFound.Number, L"File not found: zlib.dll"}, L"Please install zlib and try again."},
    {platform::PermissionDenied, L"File locked by another application"},
    {platform::AccessError, L"Cannot read/write file - Already in use"},
};

/// A run meets two exceptions of the library, and both mean that there was no memory.
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
    if (error.Number != known.error.Number) continue;
    if (std::wstring_view(error.Description) != known.error.Description) return;
    ShowAndEnd(known.message);
  }
  ShowAndEnd(L"Run-time error: '" + std::to_wstring(error.Number) + L"'\r\n\r\n" + error.Description);
}

}  // namespace mErrHndl
