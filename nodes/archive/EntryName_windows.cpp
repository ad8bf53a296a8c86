#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <archive_entry.h>
#include <windows.h>

#include "nodes/archive/EntryName.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

std::string TextOr(const wchar_t* text) { return text == nullptr ? std::string() : Utf8Of(text); }

}  // namespace

// Names are wide here from end to end.
EntryNameScope::EntryNameScope() : scope_(nullptr), before_(nullptr) {}

EntryNameScope::~EntryNameScope() = default;

std::string StoredName(archive_entry* entry) { return TextOr(archive_entry_pathname_w(entry)); }

std::string StoredHardLink(archive_entry* entry) { return TextOr(archive_entry_hardlink_w(entry)); }

void StoreName(archive_entry* entry, const std::filesystem::path& name) {
  archive_entry_copy_pathname_w(entry, name.generic_wstring().c_str());
}

std::filesystem::path LocalNameOf(const std::string& name_below) {
  const int size = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name_below.c_str(), -1, nullptr, 0);
  if (size <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name_below.c_str(), -1, wide.data(), size);
  wide.resize(wide.size() - 1);
  return wide;
}

// Workflows name files in the system's code page.
bool HoldsPart(const std::string& part) { return IsWindowsName(part) && !NameOf(LocalNameOf(part)).empty(); }

std::filesystem::path OwnNameOf(const std::filesystem::path& path) {
  WIN32_FIND_DATAW data = {};
  const HANDLE search = FindFirstFileW(path.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return path.filename();
  FindClose(search);
  return data.cFileName;
}

}  // namespace OrvWorkFlow::Nodes
