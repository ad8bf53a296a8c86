// What lies below an open directory of the host.
#include <fcntl.h>
#include <sys/vfs.h>

#include <cerrno>
#include <memory>
#include <unordered_set>

#include "base/text/Utf8.h"
#include "platform/SystemParts.h"
#include "platform/posix/EntryCalls.h"
#include "platform/posix/FileCopy.h"
#include "platform/posix/FolderChain.h"
#include "platform/posix/FolderReader.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/LetterCase.h"
#include "platform/posix/PosixReasons.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

// Disks on which "readme" and "README" are one name.
bool IgnoresCase(int folder) {
  constexpr long kFat = 0x4D44;
  constexpr long kExFat = 0x2011BAB0;
  constexpr long kWindowsShare = 0xFF534D42;
  constexpr long kWindowsShare2 = 0xFE534D42;
  struct statfs disk;
  if (::fstatfs(folder, &disk) != 0) return false;
  const long type = disk.f_type;
  return type == kFat || type == kExFat || type == kWindowsShare || type == kWindowsShare2;
}

struct OpenTree {
  OpenTree(Descriptor root, TreeUse use, bool drive_c)
      : chain(std::move(root), use == TreeUse::Fill ? ChainLinks::Followed : ChainLinks::Refused,
              use == TreeUse::Fill && drive_c ? ChainCase::Ignored : ChainCase::Counts),
        on_drive_c(drive_c) {}
  int Root() { return chain.Enter({}); }

  FolderChain chain;
  FolderReader reader;
  bool on_drive_c;
};

OpenTree& Deref(TreeHandle tree) { return *reinterpret_cast<OpenTree*>(tree); }

// `text` in UTF-8; in `*memory` if it is not in UTF-8 already.
bool InUtf8(const std::string& text, std::string* /*memory*/, std::string_view* result) {
  *result = text;
  return true;
}
bool InUtf8(const std::u16string& text, std::string* memory, std::string_view* result) {
  if (!Base::Utf16ToUtf8(text, memory)) return false;
  *result = *memory;
  return true;
}

void AddName(std::string_view name, std::uint32_t attributes, EntryList<char>* entries) {
  entries->Add(name, attributes);
}
void AddName(std::string_view name, std::uint32_t attributes, EntryList<char16_t>* entries) {
  std::u16string wide;
  if (Base::Utf8ToUtf16(name, &wide)) entries->Add(wide, attributes);
}

void LeaveOut(const std::string& shown, EntryList<char>* entries) { entries->LeaveOut(shown); }
void LeaveOut(const std::string& shown, EntryList<char16_t>* entries) {
  std::u16string wide;
  if (Base::Utf8ToUtf16(shown, &wide)) entries->LeaveOut(wide);
}

template <class Char>
class PosixTrees final : public TreesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  SystemResult OpenTree(const Text& path, TreeUse use, TreeHandle* tree) override {
    HostPath host;
    if (!ToHostPath(path, &host)) {
      return SystemParts::TheReasons().Meaning(SystemParts::TheReasons().LastCode()) == Reason::Root
                 ? SystemResult::Denied
                 : SystemResult::NotFound;
    }
    if (host.trailing_separator) return SystemResult::NotFound;
    const int flags = O_RDONLY | O_DIRECTORY | (use == TreeUse::Remove ? O_NOFOLLOW : 0);
    Descriptor root = OpenHost(AT_FDCWD, host.path.c_str(), flags, 0);
    if (!root && errno == EACCES) root = OpenHost(AT_FDCWD, host.path.c_str(), flags | O_PATH, 0);
    if (!root) return LastResult();
    auto opened = std::make_unique<Posix::OpenTree>(std::move(root), use, host.on_drive_c);
    *tree = static_cast<TreeHandle>(reinterpret_cast<std::intptr_t>(opened.release()));  // CloseTree deletes it.
    return SystemResult::Ok;
  }

  void CloseTree(TreeHandle tree) override { delete &Deref(tree); }

  SystemResult List(TreeHandle tree, const Text& directory, EntryList<Char>* entries) override {
    Posix::OpenTree& opened = Deref(tree);
    std::string memory;
    std::string_view path;
    entries->Clear();
    if (!InUtf8(directory, &memory, &path)) return SystemResult::NotFound;
    const int folder = opened.chain.Enter(path);
    if (folder < 0) return LastResult();
    FolderReader& reader = opened.reader;
    if (!reader.Read(folder, opened.on_drive_c)) return LastResult();
    entries->Reserve(reader.size(), reader.characters());
    for (std::size_t i = 0; i < reader.size(); ++i) AddName(reader.name(i), reader.attributes(i), entries);
    if (!reader.left_out().empty()) LeaveOut(Shown(reader.left_out()), entries);
    return SystemResult::Ok;
  }

  void FindDoubles(TreeHandle tree, const EntryList<Char>& entries, std::vector<bool>* doubles) override {
    Posix::OpenTree& opened = Deref(tree);
    doubles->assign(entries.size(), false);
    if (!opened.on_drive_c && !IgnoresCase(opened.Root())) return;
    std::unordered_set<std::u16string> names;
    std::string memory;
    std::string_view name;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const Text text(entries.name(i));
      if (!InUtf8(text, &memory, &name)) continue;
      (*doubles)[i] = !names.insert(Capitals(WithoutTail(name))).second;
    }
  }

  bool SetAttributesIn(TreeHandle tree, const Text& path, std::uint32_t attributes) override {
    const auto place = Find(tree, path);
    return place && SetAttributes({place.folder, place.name}, attributes);
  }
  SystemResult RemoveFileIn(TreeHandle tree, const Text& path, Mark mark) override {
    const auto place = Find(tree, path);
    if (!place) return LastResult();
    const EntryName entry{place.folder, place.name};
    if (RemoveFile(entry, mark)) return SystemResult::Ok;
    const KeptErrno kept;
    return IsThere(entry) ? SystemResult::Failed : SystemResult::NotFound;
  }
  bool RemoveDirectoryIn(TreeHandle tree, const Text& path, Mark mark) override {
    const auto place = Find(tree, path);
    return place && RemoveFolder({place.folder, place.name}, mark, DanglingLinks::Removed);
  }
  SystemResult CreateDirectoryIn(TreeHandle tree, const Text& path) override {
    const auto place = Find(tree, path);
    return place ? CreateFolder({place.folder, place.name}) : LastResult();
  }
  SystemResult CopyIn(TreeHandle from, TreeHandle to, const Text& path, bool fail_if_exists,
                      std::uint32_t listed) override {
    const auto source = Find(from, path);
    const auto destination = Find(to, path);
    if (!source || !destination) return LastResult();
    CopyWay way{fail_if_exists, CopiedMark::Dropped, Flush::FileOnly};
    way.listed_as_plain = (listed & FileAttribute::kNormal) != 0;
    way.disk = Deref(to).chain.DiskOfLast();
    return CopyFile({source.folder, source.name}, {destination.folder, destination.name}, way);
  }

 private:
  static FolderChain::Place Find(TreeHandle tree, const Text& path) {
    std::string memory;
    std::string_view text;
    return InUtf8(path, &memory, &text) ? Deref(tree).chain.Find(text) : FolderChain::Place{};
  }
};

}  // namespace
}  // namespace Posix

namespace SystemParts {

template <class Char>
TreesOf<Char>& Trees() {
  static Posix::PosixTrees<Char> trees;
  return trees;
}
template TreesOf<char>& Trees<char>();
template TreesOf<char16_t>& Trees<char16_t>();

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
