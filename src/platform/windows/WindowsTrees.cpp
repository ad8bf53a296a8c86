// What lies below a directory, by the system's narrow and wide calls. Each entry is looked up by its whole path: what
// takes a directory's place meanwhile is not noticed.
#include <memory>

#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow {
namespace Windows {
namespace {

// The root's path, with a separator behind.
template <class Char>
using Root = std::basic_string<Char>;

template <class Char>
Root<Char>* Deref(TreeHandle tree) {
  return reinterpret_cast<Root<Char>*>(tree);
}

struct SearchCloser {
  void operator()(HANDLE search) const { FindClose(search); }
};
using OwnedSearch = std::unique_ptr<std::remove_pointer_t<HANDLE>, SearchCloser>;

bool HasWildcard(std::string_view name) { return name.find_first_of("*?") != std::string_view::npos; }

bool IsDots(std::u16string_view name) { return name == u"." || name == u".."; }
bool IsDots(std::string_view name) { return name == "." || name == ".."; }

void Take(const WIN32_FIND_DATAW& data, EntryList<char16_t>* entries) {
  const std::u16string_view name = reinterpret_cast<const char16_t*>(data.cFileName);
  if (!IsDots(name)) entries->Add(name, ToAttributes(data.dwFileAttributes, data.dwReserved0));
}
// A name that the code page lacks cannot be held by a narrow path.
void Take(const WIN32_FIND_DATAW& data, EntryList<char>* entries) {
  std::string name;
  bool exact = false;
  const std::u16string_view wide = reinterpret_cast<const char16_t*>(data.cFileName);
  if (IsDots(wide) || !SystemParts::TheCodePage().Narrow(wide, &name, &exact) || !exact) return;
  entries->Add(name, ToAttributes(data.dwFileAttributes, data.dwReserved0));
}
// The system puts "?" for what the code page lacks.
void Take(const WIN32_FIND_DATAA& data, EntryList<char>* entries) {
  const std::string_view name = data.cFileName;
  if (IsDots(name) || HasWildcard(name)) return;
  entries->Add(name, ToAttributes(data.dwFileAttributes, data.dwReserved0));
}

HANDLE FindFirst(const char* pattern, WIN32_FIND_DATAA* data) { return FindFirstFileA(pattern, data); }
HANDLE FindFirst(const char16_t* pattern, WIN32_FIND_DATAW* data) { return FindFirstFileW(Native(pattern), data); }
BOOL FindNext(HANDLE search, WIN32_FIND_DATAA* data) { return FindNextFileA(search, data); }
BOOL FindNext(HANDLE search, WIN32_FIND_DATAW* data) { return FindNextFileW(search, data); }

// Not every system fills in a link's tag.
template <class Data, class Pattern, class Char>
SystemResult ListAll(const Pattern* pattern, Data data, EntryList<Char>* entries) {
  const HANDLE search = FindFirst(pattern, &data);
  if (search == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_FILE_NOT_FOUND ? SystemResult::Ok : LastResult();
  }
  const OwnedSearch closed(search);
  do {
    Take(data, entries);
  } while (FindNext(search, &data));
  return GetLastError() == ERROR_NO_MORE_FILES ? SystemResult::Ok : SystemResult::Failed;
}

template <class Char>
SystemResult ListPattern(const char16_t* pattern, EntryList<Char>* entries) {
  return ListAll(pattern, WIN32_FIND_DATAW{}, entries);
}
SystemResult ListPattern(const char* pattern, EntryList<char>* entries) {
  return ListAll(pattern, WIN32_FIND_DATAA{}, entries);
}

template <class Char>
class WindowsTrees final : public TreesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  SystemResult OpenTree(const Text& path, TreeUse use, TreeHandle* tree) override {
    std::uint32_t attributes = 0;
    if (!IsBareDrive(path)) {
      if (!AttributesOf(path, &attributes) || (attributes & FileAttribute::kDirectory) == 0) {
        return SystemResult::NotFound;
      }
      if (use == TreeUse::Remove && (attributes & FileAttribute::kLink) != 0) return SystemResult::NotFound;
    }
    // CloseTree deletes it.
    *tree = static_cast<TreeHandle>(reinterpret_cast<std::intptr_t>(new Root<Char>(path + Char{'\\'})));
    return SystemResult::Ok;
  }

  void CloseTree(TreeHandle tree) override { delete Deref<Char>(tree); }

  SystemResult List(TreeHandle tree, const Text& directory, EntryList<Char>* entries) override {
    Text pattern = PathIn(tree, directory);
    if (!directory.empty()) pattern += Char{'\\'};
    pattern += Char{'*'};
    entries->Clear();
    if (!IsNameable(pattern)) return SystemResult::NotFound;
    return WithPaths([=](const auto* p) { return ListPattern(p, entries); }, pattern);
  }

  bool SetAttributesIn(TreeHandle tree, const Text& path, std::uint32_t attributes) override {
    return SystemParts::Files<Char>().SetAttributes(PathIn(tree, path), attributes);
  }
  SystemResult RemoveFileIn(TreeHandle tree, const Text& path) override {
    const Text whole = PathIn(tree, path);
    if (SystemParts::Files<Char>().RemoveOneFile(whole)) return SystemResult::Ok;
    const KeptReason kept(SystemParts::TheReasons());
    std::uint32_t attributes = 0;
    return AttributesOf(whole, &attributes) ? SystemResult::Failed : SystemResult::NotFound;
  }
  bool RemoveDirectoryIn(TreeHandle tree, const Text& path) override {
    return SystemParts::Directories<Char>().RemoveOneDirectory(PathIn(tree, path));
  }
  SystemResult CreateDirectoryIn(TreeHandle tree, const Text& path) override {
    return SystemParts::Directories<Char>().CreateOneDirectory(PathIn(tree, path));
  }

  SystemResult CopyIn(TreeHandle from, TreeHandle to, const Text& path, bool fail_if_exists) override {
    FilesOf<Char>& files = SystemParts::Files<Char>();
    const Text target = PathIn(to, path);
    if (!files.CopyOver(PathIn(from, path), target, fail_if_exists)) {
      const KeptReason kept(SystemParts::TheReasons());
      std::uint32_t attributes = 0;
      return fail_if_exists && AttributesOf(target, &attributes) ? SystemResult::Exists : SystemResult::Failed;
    }
    files.SetAttributes(target, FileAttribute::kNormal);
    return SystemResult::Ok;
  }

 private:
  static Text PathIn(TreeHandle tree, const Text& path) { return *Deref<Char>(tree) + path; }
  static bool IsBareDrive(const Text& path) { return path.size() == 2 && path[1] == Char{':'}; }
};

}  // namespace
}  // namespace Windows

namespace SystemParts {

template <class Char>
TreesOf<Char>& Trees() {
  static Windows::WindowsTrees<Char> trees;
  return trees;
}
template TreesOf<char>& Trees<char>();
template TreesOf<char16_t>& Trees<char16_t>();

}  // namespace SystemParts
}  // namespace OrvWorkFlow
