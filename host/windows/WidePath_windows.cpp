#include "base/windows/WindowsApi.h"

#include "host/windows/WidePath.h"

namespace OrvWorkFlow::Host {

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

}  // namespace OrvWorkFlow::Host
