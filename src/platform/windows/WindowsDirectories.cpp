// Directories, by the system's narrow and wide calls.
#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

// The same call under one name for both widths.
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

template <class Data>
bool Found(HANDLE search, const Data& data, std::uint32_t* attributes) {
  if (search == INVALID_HANDLE_VALUE) return false;
  FindClose(search);
  *attributes = ToAttributes(data.dwFileAttributes, data.dwReserved0);
  return true;
}

bool First(const char* pattern, std::uint32_t* attributes) {
  WIN32_FIND_DATAA data{};  // Not every system fills in the tag.
  return Found(FindFirstFileA(pattern, &data), data, attributes);
}
bool First(const char16_t* pattern, std::uint32_t* attributes) {
  WIN32_FIND_DATAW data{};
  return Found(FindFirstFileW(Native(pattern), &data), data, attributes);
}

template <class Char>
class WindowsDirectories final : public DirectoriesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  SystemResult CreateOneDirectory(const Text& path) override {
    if (!IsNameable(path)) return SystemResult::NotFound;
    return WithPaths([](const auto* p) { return NativeCreate(p); }, path) ? SystemResult::Ok : LastResult();
  }

  bool RemoveOneDirectory(const Text& path, Mark mark) override {
    std::uint32_t attributes = 0;
    if (!AttributesOf(path, &attributes)) return false;
    const auto remove = [&] { return WithPaths([](const auto* p) { return NativeRemove(p); }, path) != FALSE; };
    const bool marked = (attributes & FileAttribute::kReadOnly) != 0 && (attributes & FileAttribute::kLink) == 0;
    if (mark == Mark::Counts || !marked) return remove();
    FilesOf<Char>& files = SystemParts::Files<Char>();
    files.SetAttributes(path, FileAttribute::kNormal);
    if (remove()) return true;
    const KeptReason kept(SystemParts::TheReasons());
    files.SetAttributes(path, FileAttribute::kReadOnly);
    return false;
  }

  bool FindFirst(const Text& pattern, std::uint32_t* attributes) override {
    return IsNameable(pattern) && WithPaths([=](const auto* p) { return First(p, attributes); }, pattern);
  }

  bool IsRoot(const Text& path) override { return IsRootPath(path); }
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
}  // namespace OrvWorkFlow::Core::System
