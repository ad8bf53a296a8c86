#include "platform/windows/WindowsReasons.h"

#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

constexpr DWORD kDiskQuotaExceeded = 1295;  // Not in every header.

Reason MeaningOf(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_NO_MORE_FILES:
    case ERROR_DIRECTORY:
      return Reason::NotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
      return Reason::Denied;
    case ERROR_WRITE_PROTECT:
      return Reason::ReadOnlyDisk;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY:
    case ERROR_USER_MAPPED_FILE:
    case WAIT_TIMEOUT:
      return Reason::InUse;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return Reason::NoSpace;
    case kDiskQuotaExceeded:
    case ERROR_NOT_ENOUGH_QUOTA:
      return Reason::NoQuota;
    case ERROR_FILE_TOO_LARGE:
      return Reason::TooLarge;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return Reason::Exists;
    case ERROR_DIR_NOT_EMPTY:
      return Reason::NotEmpty;
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
      return Reason::NameTooLong;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_NO_UNICODE_TRANSLATION:
      return Reason::InvalidName;
    case ERROR_CANT_RESOLVE_FILENAME:
      return Reason::TooManyLinks;
    case ERROR_TOO_MANY_OPEN_FILES:
      return Reason::TooManyOpen;
    case ERROR_CRC:
    case ERROR_IO_DEVICE:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
      return Reason::DiskFailed;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return Reason::NoMemory;
    default:
      return Reason::Unknown;
  }
}

class WindowsReasons final : public Reasons {
 public:
  std::uint32_t LastCode() noexcept override { return GetLastError(); }
  void SetLastCode(std::uint32_t code) noexcept override { SetLastError(code); }
  Reason Meaning(std::uint32_t code) noexcept override {
    return IsRefusal(code) ? RefusalReason(code) : MeaningOf(code);
  }
};

}  // namespace

bool Refuse(Reason reason) noexcept {
  SetLastError(RefusalCode(reason));
  return false;
}

}  // namespace Windows

namespace SystemParts {

Reasons& TheReasons() {
  static Windows::WindowsReasons reasons;
  return reasons;
}

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
