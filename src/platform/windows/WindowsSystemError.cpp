#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include "platform/SystemError.h"

namespace OrvWorkFlow {
namespace {

// The common ones as the other platform calls them.
struct Named {
  DWORD number;
  const char* text;
};
constexpr Named kNamed[] = {
    {ERROR_FILE_NOT_FOUND, "no such file or directory"},
    {ERROR_PATH_NOT_FOUND, "no such file or directory"},
    {ERROR_ACCESS_DENIED, "permission denied"},
    {ERROR_SHARING_VIOLATION, "in use by another process"},
    {ERROR_LOCK_VIOLATION, "in use by another process"},
    {ERROR_NOT_ENOUGH_MEMORY, "cannot allocate memory"},
    {ERROR_OUTOFMEMORY, "cannot allocate memory"},
    {ERROR_TOO_MANY_OPEN_FILES, "too many open files"},
    {ERROR_DISK_FULL, "no space left on device"},
    {ERROR_HANDLE_DISK_FULL, "no space left on device"},
    {ERROR_WRITE_PROTECT, "read-only file system"},
    {ERROR_READ_FAULT, "input/output error"},
    {ERROR_WRITE_FAULT, "input/output error"},
    {ERROR_IO_DEVICE, "input/output error"},
    {ERROR_CRC, "input/output error"},
};

}  // namespace

void SystemError::Forget() noexcept { SetLastError(0); }

std::int32_t SystemError::Last() noexcept { return static_cast<std::int32_t>(GetLastError()); }

SystemErrorKind SystemError::KindOf(std::int32_t number) noexcept {
  switch (number) {
    case 0:
      return SystemErrorKind::None;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return SystemErrorKind::NotFound;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return SystemErrorKind::InUse;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return SystemErrorKind::NoMemory;
    default:
      return SystemErrorKind::Other;
  }
}

std::string SystemError::Describe(std::int32_t number) {
  if (number == 0) return {};
  for (const Named& named : kNamed) {
    if (named.number == static_cast<DWORD>(number)) return named.text;
  }
  return "system error " + std::to_string(number);
}

}  // namespace OrvWorkFlow
