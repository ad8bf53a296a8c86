#include "platform/windows/NativePath.h"

#include <algorithm>
#include <iterator>

#include "platform/Platform.h"
#include "platform/SystemParts.h"
#include "platform/windows/WindowsReasons.h"

namespace OrvWorkFlow::Core::System::Windows {
namespace {

// "NUL", "com1.txt": devices in every directory. Their names end at the first dot or colon, without blanks before it.
template <class View>
bool IsDevice(View name) {
  constexpr std::string_view kNames[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
  std::string capitals;
  for (const auto c : name) {
    if (c == '.' || c == ':') break;
    const auto unit = static_cast<std::uint32_t>(c) & 0xFFFF;
    // The superscript digits count as digits.
    const char digit = unit == 0xB9 ? '1' : unit == 0xB2 ? '2' : unit == 0xB3 ? '3' : '\0';
    if (unit >= 0x80 && (digit == '\0' || sizeof(c) == 1)) return false;
    capitals += digit != '\0'                ? digit
                : unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 0x20)
                                             : static_cast<char>(unit);
  }
  while (!capitals.empty() && capitals.back() == ' ') capitals.pop_back();
  if (std::find(std::begin(kNames), std::end(kNames), capitals) != std::end(kNames)) return true;
  return capitals.size() == 4 && (capitals.starts_with("COM") || capitals.starts_with("LPT")) && capitals[3] >= '0' &&
         capitals[3] <= '9';
}

template <class View>
bool HasDevice(View path) {
  for (std::size_t begin = 0; begin <= path.size();) {
    std::size_t end = begin;
    while (end < path.size() && path[end] != '\\' && path[end] != '/') ++end;
    if (IsDevice(path.substr(begin, end - begin))) return true;
    begin = end + 1;
  }
  return false;
}

template <class View>
bool IsNameableIn(View path) {
  if (path.empty()) return Refuse(Reason::InvalidName);
  std::size_t drive = 1;
  if (path.size() > 5 && path[0] == '\\' && path[1] == '\\' && path[2] == '?' && path[3] == '\\') drive = 5;
  const std::size_t colon = path.find(':');
  const bool nameable = colon == View::npos || (colon == drive && path.find(':', colon + 1) == View::npos);
  return (nameable && !HasDevice(path)) || Refuse(Reason::InvalidName);
}

DWORD NativeAttributes(const char* path) { return GetFileAttributesA(path); }
DWORD NativeAttributes(const char16_t* path) { return GetFileAttributesW(Native(path)); }

DWORD ReparseTag(const char* path) {
  WIN32_FIND_DATAA data{};
  const HANDLE search = FindFirstFileA(path, &data);
  if (search == INVALID_HANDLE_VALUE) return 0;
  FindClose(search);
  return data.dwReserved0;
}
DWORD ReparseTag(const char16_t* path) {
  WIN32_FIND_DATAW data{};
  const HANDLE search = FindFirstFileW(Native(path), &data);
  if (search == INVALID_HANDLE_VALUE) return 0;
  FindClose(search);
  return data.dwReserved0;
}

template <class Text>
bool AttributesIn(const Text& path, std::uint32_t* attributes) {
  if (!IsNameable(path)) return false;
  const DWORD native = WithPaths([](const auto* p) { return NativeAttributes(p); }, path);
  if (native == INVALID_FILE_ATTRIBUTES) return false;
  DWORD tag = 0;
  if ((native & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    tag = WithPaths([](const auto* p) { return ReparseTag(p); }, path);
  }
  *attributes = ToAttributes(native, tag);
  return true;
}

}  // namespace

SystemResult LastResult() {
  switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
      return SystemResult::NotFound;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return SystemResult::Exists;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      return SystemResult::Denied;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case WAIT_TIMEOUT:  // For a turn.
      return SystemResult::InUse;
    default:
      return SystemResult::Failed;
  }
}

bool IsNameable(std::string_view path) { return IsNameableIn(path); }
bool IsNameable(std::u16string_view path) { return IsNameableIn(path); }

std::u16string Capitals(const std::u16string& path) {
  std::u16string result(path.size(), u'\0');
  const int size = static_cast<int>(path.size());
  const int done =
      LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, Native(path.c_str()), size, Native(result.data()), size);
  return done == size ? result : path;
}

std::u16string WholeForm(const std::u16string& path) {
  if (path.starts_with(u"\\\\?\\")) return path;
  const DWORD needed = GetFullPathNameW(Native(path.c_str()), 0, nullptr, nullptr);
  std::u16string whole(needed, u'\0');
  const DWORD length = GetFullPathNameW(Native(path.c_str()), needed, Native(whole.data()), nullptr);
  if (length == 0 || length >= needed) return path;
  whole.resize(length);
  return whole.starts_with(u"\\\\") ? u"\\\\?\\UNC\\" + whole.substr(2) : u"\\\\?\\" + whole;
}

std::u16string WholeForm(const std::string& path) {
  std::u16string wide;
  return SystemParts::TheCodePage().Widen(path, &wide) ? WholeForm(wide) : std::u16string();
}

std::u16string LongForm(const std::u16string& path) { return path.size() < kLongPath ? path : WholeForm(path); }

std::u16string FinalPath(HANDLE file) {
  const DWORD needed = GetFinalPathNameByHandleW(file, nullptr, 0, FILE_NAME_NORMALIZED);
  std::u16string name(needed, u'\0');
  const DWORD length = GetFinalPathNameByHandleW(file, Native(name.data()), needed, FILE_NAME_NORMALIZED);
  if (length == 0 || length >= needed) return {};
  name.resize(length);
  return name;
}

std::u16string WideLongForm(const std::string& path) {
  std::u16string wide;
  return SystemParts::TheCodePage().Widen(path, &wide) ? LongForm(wide) : std::u16string();
}

std::uint32_t ToAttributes(DWORD attributes, DWORD reparse_tag) {
  std::uint32_t result = attributes & (FileAttribute::kReadOnly | FileAttribute::kDirectory);
  // Microsoft's tags say whether they stand for another name; those that do not (cloud files, compressed files) are no
  // links. What says nothing may be a link: better not entered than followed out of a tree that is being deleted.
  constexpr DWORD kMicrosoft = 0x80000000;
  constexpr DWORD kOtherName = 0x20000000;
  const bool stays = (reparse_tag & kMicrosoft) != 0 && (reparse_tag & kOtherName) == 0;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && !stays) result |= FileAttribute::kLink;
  return result == 0 ? FileAttribute::kNormal : result;
}

bool AttributesOf(const std::string& path, std::uint32_t* attributes) { return AttributesIn(path, attributes); }
bool AttributesOf(const std::u16string& path, std::uint32_t* attributes) { return AttributesIn(path, attributes); }

}  // namespace OrvWorkFlow::Core::System::Windows
