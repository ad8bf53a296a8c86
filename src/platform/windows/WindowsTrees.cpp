// What lies below a directory, by the system's narrow and wide calls. Each entry is looked up by its whole path, while
// its directory is held open: nobody moves that away meanwhile, and it must lie where the path says, behind no link.
#include <memory>
#include <set>

#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"
#include "platform/windows/WindowsReasons.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

std::u16string Widened(const std::u16string& name) { return name; }
std::u16string Widened(const std::string& name) {
  std::u16string wide;
  SystemParts::TheCodePage().Widen(name, &wide);
  return wide;
}

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

// A directory that cannot be moved or removed while it is held; null, with the last error, when there is none. Links to
// one are followed.
OwnedHandle Hold(const std::u16string& path) {
  const HANDLE handle =
      CreateFileW(Native(LongForm(path).c_str()), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

std::u16string FinalCapitals(HANDLE directory) {
  std::u16string path = Capitals(FinalPath(directory));
  while (!path.empty() && path.back() == u'\\') path.pop_back();
  return path;
}

template <class Char>
class Root {
 public:
  using Text = std::basic_string<Char>;

  // `path` without a final separator. A tree that is being filled follows links.
  Root(const Text& path, TreeUse use) : path_(path + Char{'\\'}) {
    if (use == TreeUse::Fill) return;
    held_ = Hold(Widened(path_));
    if (held_) place_ = FinalCapitals(held_.get());
  }

  Text PathIn(const Text& path) const { return path_ + path; }

  // Holds the directory with that path below the root, in place of the one before. False when it is not there, or lies
  // behind a link. A system that does not say where things lie is believed.
  bool Enter(const Text& directory) {
    if (place_.empty() || (held_ && directory == directory_)) return true;
    held_.reset();
    directory_ = directory;
    held_ = Hold(Widened(path_ + directory));
    if (!held_) return false;
    std::u16string expected = place_;
    if (!directory.empty()) expected += u'\\' + Capitals(Widened(directory));
    // Wine does not say it of paths above 260 characters.
    const std::u16string place = FinalCapitals(held_.get());
    if (place.empty() || place == expected) return true;
    held_.reset();
    return Refuse(Reason::NotFound);
  }
  // The same with the directory of an entry.
  bool EnterFolderOf(const Text& path) {
    const std::size_t separator = path.rfind(Char{'\\'});
    return Enter(separator == Text::npos ? Text() : path.substr(0, separator));
  }

 private:
  Text path_;
  std::u16string place_;  // The root's, without links; empty when it does not matter or is not known.
  Text directory_;
  OwnedHandle held_;
};

template <class Char>
Root<Char>& Deref(TreeHandle tree) {
  return *reinterpret_cast<Root<Char>*>(tree);
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
  if (IsDots(wide)) return;
  if (!SystemParts::TheCodePage().Narrow(wide, &name, &exact)) name = "?";
  if (!exact) return entries->LeaveOut(name);
  entries->Add(name, ToAttributes(data.dwFileAttributes, data.dwReserved0));
}
// The system puts "?" for what the code page lacks.
void Take(const WIN32_FIND_DATAA& data, EntryList<char>* entries) {
  const std::string_view name = data.cFileName;
  if (IsDots(name)) return;
  if (HasWildcard(name)) return entries->LeaveOut(name);
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
    *tree = static_cast<TreeHandle>(reinterpret_cast<std::intptr_t>(new Root<Char>(path, use)));
    return SystemResult::Ok;
  }

  void CloseTree(TreeHandle tree) override { delete &Deref<Char>(tree); }

  SystemResult List(TreeHandle tree, const Text& directory, EntryList<Char>* entries) override {
    Text pattern = PathIn(tree, directory);
    if (!directory.empty()) pattern += Char{'\\'};
    pattern += Char{'*'};
    entries->Clear();
    if (!IsNameable(pattern)) return SystemResult::NotFound;
    if (!Deref<Char>(tree).Enter(directory))
      return LastResult() == SystemResult::Denied ? SystemResult::Denied : SystemResult::NotFound;
    return WithPaths([=](const auto* p) { return ListPattern(p, entries); }, pattern);
  }

  // Every directory here ignores case, and drops dots and blanks at a name's end.
  void FindDoubles(TreeHandle /*tree*/, const EntryList<Char>& entries, std::vector<bool>* doubles) override {
    std::set<std::u16string> names;
    doubles->assign(entries.size(), false);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      std::u16string name = Widened(Text(entries.name(i)));
      while (!name.empty() && (name.back() == u'.' || name.back() == u' ')) name.pop_back();
      (*doubles)[i] = !names.insert(Capitals(name)).second;
    }
  }

  bool SetAttributesIn(TreeHandle tree, const Text& path, std::uint32_t attributes) override {
    return Deref<Char>(tree).EnterFolderOf(path) &&
           SystemParts::Files<Char>().SetAttributes(PathIn(tree, path), attributes);
  }
  SystemResult RemoveFileIn(TreeHandle tree, const Text& path, Mark mark) override {
    if (!Deref<Char>(tree).EnterFolderOf(path)) return SystemResult::NotFound;
    const Text whole = PathIn(tree, path);
    if (SystemParts::Files<Char>().RemoveOneFile(whole, mark)) return SystemResult::Ok;
    const KeptReason kept(SystemParts::TheReasons());
    std::uint32_t attributes = 0;
    return AttributesOf(whole, &attributes) ? SystemResult::Failed : SystemResult::NotFound;
  }
  bool RemoveDirectoryIn(TreeHandle tree, const Text& path, Mark mark) override {
    return Deref<Char>(tree).EnterFolderOf(path) &&
           SystemParts::Directories<Char>().RemoveOneDirectory(PathIn(tree, path), mark);
  }
  SystemResult CreateDirectoryIn(TreeHandle tree, const Text& path) override {
    return SystemParts::Directories<Char>().CreateOneDirectory(PathIn(tree, path));
  }

  SystemResult CopyIn(TreeHandle from, TreeHandle to, const Text& path, bool fail_if_exists,
                      std::uint32_t /*listed*/) override {
    if (!Deref<Char>(from).EnterFolderOf(path)) return SystemResult::NotFound;
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
  static Text PathIn(TreeHandle tree, const Text& path) { return Deref<Char>(tree).PathIn(path); }
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
}  // namespace OrvWorkFlow::Core::System
