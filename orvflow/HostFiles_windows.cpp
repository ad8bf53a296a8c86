#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include "orvflow/HostFiles.h"
#include "orvflow/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// What is no UTF-8 comes from MakeAbsolutePath and is text of the code page.
std::wstring Widen(const std::string& text) {
  for (const UINT code_page : {static_cast<UINT>(CP_UTF8), static_cast<UINT>(CP_ACP)}) {
    const DWORD flags = MB_ERR_INVALID_CHARS;
    const int size = MultiByteToWideChar(code_page, flags, text.c_str(), -1, nullptr, 0);
    if (size <= 0) continue;
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(code_page, flags, text.c_str(), -1, wide.data(), size);
    wide.resize(wide.size() - 1);  // Without the terminator.
    return wide;
  }
  return {};
}

// Empty when the code page lacks a character.
std::string Narrow(const std::wstring& text) {
  BOOL is_inexact = FALSE;
  // A code page that is UTF-8 lacks nothing, and refuses to be asked.
  const bool is_utf8 = GetACP() == CP_UTF8;
  const DWORD flags = is_utf8 ? 0 : WC_NO_BEST_FIT_CHARS;
  BOOL* const inexact = is_utf8 ? nullptr : &is_inexact;
  const int size = WideCharToMultiByte(CP_ACP, flags, text.c_str(), -1, nullptr, 0, nullptr, inexact);
  if (size <= 0 || is_inexact != FALSE) return {};
  std::string narrow(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, flags, text.c_str(), -1, narrow.data(), size, nullptr, nullptr);
  narrow.resize(narrow.size() - 1);
  return narrow;
}

}  // namespace

FileKind FindFileKind(const std::string& path) {
  const std::wstring wide = Widen(path);
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    const bool is_missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
                            error == ERROR_INVALID_NAME || error == ERROR_BAD_NETPATH || error == ERROR_INVALID_DRIVE;
    return is_missing ? FileKind::Missing : FileKind::Unreadable;
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::Folder;
  const HANDLE file = CreateFileW(wide.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return FileKind::Unreadable;
  CloseHandle(file);
  return FileKind::Readable;
}

std::string MakeAbsolutePath(const std::string& path) {
  std::wstring absolute(32768, L'\0');
  const auto capacity = static_cast<DWORD>(absolute.size());
  const DWORD length = GetFullPathNameW(Widen(path).c_str(), capacity, absolute.data(), nullptr);
  if (length == 0 || length >= capacity) return path;
  absolute.resize(length);
  std::string narrow = Narrow(absolute);
  if (!narrow.empty()) return narrow;
  // The short name of a file that exists holds what every code page has.
  std::wstring short_path(capacity, L'\0');
  short_path.resize(GetShortPathNameW(absolute.c_str(), short_path.data(), capacity));
  narrow = Narrow(short_path);
  if (!narrow.empty()) return narrow;
  throw ProgramError(ExitCode::Failed, path + ": the name holds characters that the system's code page lacks");
}

}  // namespace OrvWorkFlow::Program
