// Paths as the system's calls take them, and its header for this folder.
#pragma once

#include "base/windows/WindowsApi.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Files.h"

namespace OrvWorkFlow::Core::System::Windows {

inline const wchar_t* Native(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }
inline wchar_t* Native(char16_t* text) { return reinterpret_cast<wchar_t*>(text); }

// From GetLastError().
SystemResult LastResult();

// False for an empty path, for a ":" behind the drive's, which would name a stream of a file, and for a device's name.
bool IsNameable(std::string_view path);
bool IsNameable(std::u16string_view path);

// From this length on some calls refuse a path that does not say that it is long.
inline constexpr std::size_t kLongPath = 248;

// The path in the form that may have any length; as it is when it is short or has the form already.
std::u16string LongForm(const std::u16string& path);
// The same for a narrow path; empty when it cannot be widened.
std::u16string WideLongForm(const std::string& path);

// The whole path, from the drive or share on, in long form whatever its length.
std::u16string WholeForm(const std::u16string& path);
std::u16string WholeForm(const std::string& path);
// What an open file is called in the end, in long form; empty when the system does not tell.
std::u16string FinalPath(HANDLE file);

// In the letters in which the system compares names.
std::u16string Capitals(const std::u16string& name);

// Makes `call(pointers...)` with the wide paths in long form.
template <class Call>
auto WithPaths(const Call& call, const std::u16string& path) {
  return call(LongForm(path).c_str());
}
template <class Call>
auto WithPaths(const Call& call, const std::u16string& first, const std::u16string& second) {
  return call(LongForm(first).c_str(), LongForm(second).c_str());
}
// Makes `call(pointers...)` with narrow paths, or with wide ones when one is long: no narrow call takes those.
template <class Call>
auto WithPaths(const Call& call, const std::string& path) {
  return path.size() < kLongPath ? call(path.c_str()) : call(WideLongForm(path).c_str());
}
template <class Call>
auto WithPaths(const Call& call, const std::string& first, const std::string& second) {
  if (first.size() < kLongPath && second.size() < kLongPath) return call(first.c_str(), second.c_str());
  return call(WideLongForm(first).c_str(), WideLongForm(second).c_str());
}

// The attributes in the library's bits. Of the reparse points only links count as links. False when nothing is there.
bool AttributesOf(const std::string& path, std::uint32_t* attributes);
bool AttributesOf(const std::u16string& path, std::uint32_t* attributes);

// In the library's bits; `reparse_tag` counts with the reparse bit only.
std::uint32_t ToAttributes(DWORD attributes, DWORD reparse_tag);

}  // namespace OrvWorkFlow::Core::System::Windows
