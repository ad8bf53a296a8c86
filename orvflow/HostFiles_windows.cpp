#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#define NOGDI
#include <windows.h>

#include "orvflow/HostFiles.h"

namespace OrvWorkFlow::Program {

FileKind FindFileKind(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return GetLastError() == ERROR_ACCESS_DENIED ? FileKind::Unreadable : FileKind::Missing;
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::Folder;
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return FileKind::Unreadable;
  CloseHandle(file);
  return FileKind::Readable;
}

std::string MakeAbsolutePath(const std::string& path) {
  char absolute[32768];
  const DWORD length = GetFullPathNameA(path.c_str(), sizeof absolute, absolute, nullptr);
  return length == 0 || length >= sizeof absolute ? path : std::string(absolute, length);
}

}  // namespace OrvWorkFlow::Program
