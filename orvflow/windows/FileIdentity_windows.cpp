#include "base/windows/WindowsApi.h"

#include "host/windows/WidePath.h"
#include "orvflow/files/FileIdentity.h"

namespace OrvWorkFlow::Program {

std::string IdentityOfFile(const std::string& file) {
  const HANDLE handle =
      CreateFileW(Host::Widen(file).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION status = {};
  const bool is_known = GetFileInformationByHandle(handle, &status) != 0;
  CloseHandle(handle);
  if (!is_known) return {};
  std::string identity;
  for (const DWORD number :
       {status.dwVolumeSerialNumber, status.nFileIndexHigh, status.nFileIndexLow, status.nFileSizeHigh,
        status.nFileSizeLow, status.ftLastWriteTime.dwHighDateTime, status.ftLastWriteTime.dwLowDateTime}) {
    identity += std::to_string(number) + ' ';
  }
  return identity;
}

}  // namespace OrvWorkFlow::Program
