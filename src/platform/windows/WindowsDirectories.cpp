// Directories, by the system's narrow and wide calls.
#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow {
namespace Windows {
namespace {

// The same call under one name for both widths. A long narrow pattern is searched with the wide call, whose names are
// then narrowed; so a search knows which of the two it is.
struct OpenSearch {
  HANDLE handle = INVALID_HANDLE_VALUE;
  bool wide = false;
};

BOOL NativeCreate(const char* path) { return CreateDirectoryA(path, nullptr); }
BOOL NativeCreate(const char16_t* path) { return CreateDirectoryW(Native(path), nullptr); }
BOOL NativeRemove(const char* path) { return RemoveDirectoryA(path); }
BOOL NativeRemove(const char16_t* path) { return RemoveDirectoryW(Native(path)); }

std::u16string WholePath(const std::u16string& path) {
  const DWORD needed = GetFullPathNameW(Native(path.c_str()), 0, nullptr, nullptr);
  std::u16string whole(needed, u'\0');
  const DWORD length = GetFullPathNameW(Native(path.c_str()), needed, Native(whole.data()), nullptr);
  whole.resize(length < needed ? length : 0);
  return whole;
}

bool IsRootPath(const std::u16string& path) {
  if (path.size() == 2 && path[1] == u':') return true;
  std::u16string whole = WholePath(path);
  if (whole.starts_with(u"\\\\?\\")) whole.erase(0, 4);
  while (!whole.empty() && whole.back() == u'\\') whole.pop_back();
  if (whole.size() == 2 && whole[1] == u':') return true;
  if (!whole.starts_with(u"\\\\")) return whole.empty();
  const std::size_t share = whole.find(u'\\', 2);
  return share == std::u16string::npos || whole.find(u'\\', share + 1) == std::u16string::npos;
}

bool IsRootPath(const std::string& path) {
  std::u16string wide;
  return SystemParts::TheCodePage().Widen(path, &wide) && IsRootPath(wide);
}

bool HasWildcard(std::string_view pattern) { return pattern.find_first_of("*?") != std::string_view::npos; }
bool HasWildcard(std::u16string_view pattern) { return pattern.find_first_of(u"*?") != std::u16string_view::npos; }

bool Take(const WIN32_FIND_DATAW& data, DirectoryEntry<char16_t>* entry) {
  entry->name = reinterpret_cast<const char16_t*>(data.cFileName);
  entry->attributes = ToAttributes(data.dwFileAttributes, data.dwReserved0);
  return true;
}
bool Take(const WIN32_FIND_DATAW& data, DirectoryEntry<char>* entry) {
  bool exact = false;
  entry->attributes = ToAttributes(data.dwFileAttributes, data.dwReserved0);
  const std::u16string_view name = reinterpret_cast<const char16_t*>(data.cFileName);
  return SystemParts::TheCodePage().Narrow(name, &entry->name, &exact) && exact;
}
bool Take(const WIN32_FIND_DATAA& data, DirectoryEntry<char>* entry) {
  entry->name = data.cFileName;
  entry->attributes = ToAttributes(data.dwFileAttributes, data.dwReserved0);
  // The system puts "?" for what the code page lacks: no path can hold that name.
  return !HasWildcard(entry->name);
}

template <class Char>
class WindowsDirectories final : public DirectoriesOf<Char> {
 public:
  using Text = std::basic_string<Char>;
  using Entry = DirectoryEntry<Char>;

  SystemResult CreateOneDirectory(const Text& path) override {
    if (!IsNameable(path)) return SystemResult::NotFound;
    return WithPaths([](const auto* p) { return NativeCreate(p); }, path) ? SystemResult::Ok : LastResult();
  }

  bool RemoveOneDirectory(const Text& path) override {
    return IsNameable(path) && WithPaths([](const auto* p) { return NativeRemove(p); }, path) != FALSE;
  }

  SearchResult FindFirst(const Text& pattern, SearchHandle* search, Entry* entry) override {
    if (!IsNameable(pattern)) return SearchResult::Failed;
    OpenSearch opened;
    bool usable = false;
    opened.handle = WithPaths([&](const auto* p) { return Start(p, &opened.wide, &usable, entry); }, pattern);
    if (opened.handle == INVALID_HANDLE_VALUE) {
      return GetLastError() == ERROR_FILE_NOT_FOUND && HasWildcard(pattern) ? SearchResult::End : SearchResult::Failed;
    }
    const SearchResult result = usable ? SearchResult::Found : Next(opened, entry);
    if (result != SearchResult::Found) {
      FindClose(opened.handle);
      return result;
    }
    try {
      *search = static_cast<SearchHandle>(reinterpret_cast<std::intptr_t>(new OpenSearch(opened)));
    } catch (...) {
      FindClose(opened.handle);
      throw;
    }
    return SearchResult::Found;
  }

  SearchResult FindNext(SearchHandle search, Entry* entry) override { return Next(*Deref(search), entry); }

  void CloseSearch(SearchHandle search) override {
    OpenSearch* opened = Deref(search);
    FindClose(opened->handle);
    delete opened;
  }

  bool IsRoot(const Text& path) override { return IsRootPath(path); }

 private:
  static OpenSearch* Deref(SearchHandle search) { return reinterpret_cast<OpenSearch*>(search); }

  static HANDLE Start(const char16_t* pattern, bool* wide, bool* usable, Entry* entry) {
    WIN32_FIND_DATAW data{};  // Not every system fills in the tag.
    *wide = true;
    const HANDLE handle = FindFirstFileW(Native(pattern), &data);
    *usable = handle != INVALID_HANDLE_VALUE && Take(data, entry);
    return handle;
  }
  static HANDLE Start(const char* pattern, bool* wide, bool* usable, DirectoryEntry<char>* entry) {
    WIN32_FIND_DATAA data{};
    *wide = false;
    const HANDLE handle = FindFirstFileA(pattern, &data);
    *usable = handle != INVALID_HANDLE_VALUE && Take(data, entry);
    return handle;
  }

  static SearchResult Next(const OpenSearch& opened, Entry* entry) {
    for (;;) {
      WIN32_FIND_DATAW wide{};
      WIN32_FIND_DATAA narrow{};
      const BOOL found = opened.wide ? FindNextFileW(opened.handle, &wide) : FindNextFileA(opened.handle, &narrow);
      if (!found) return GetLastError() == ERROR_NO_MORE_FILES ? SearchResult::End : SearchResult::Failed;
      if (opened.wide ? Take(wide, entry) : TakeNarrow(narrow, entry)) return SearchResult::Found;
    }
  }

  static bool TakeNarrow(const WIN32_FIND_DATAA& data, DirectoryEntry<char>* entry) { return Take(data, entry); }
  // Wide searches have wide handles only.
  static bool TakeNarrow(const WIN32_FIND_DATAA& /*data*/, DirectoryEntry<char16_t>* /*entry*/) { return false; }
};

}  // namespace
}  // namespace Windows

namespace SystemParts {

template <class Char>
DirectoriesOf<Char>& Directories() {
  static Windows::WindowsDirectories<Char> directories;
  return directories;
}
template DirectoriesOf<char>& Directories<char>();
template DirectoriesOf<char16_t>& Directories<char16_t>();

}  // namespace SystemParts
}  // namespace OrvWorkFlow
