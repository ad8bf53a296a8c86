// The safe way to give a file new content.
#include <string>

#include "filesystem/DirectoryWalk.h"
#include "filesystem/FileContent.h"

namespace OrvWorkFlow {
namespace {

// Files that a crash left behind occupy names; more of them than this are no accident.
constexpr int kMostNames = 1000;

template <class Char>
std::basic_string<Char> NameBeside(const std::basic_string<Char>& target, int number) {
  const std::string ending = ".tmp" + std::to_string(number);
  return target + std::basic_string<Char>(ending.begin(), ending.end());
}

// The file that is to take the target's place, removed in the end when it has not: also when memory runs out.
template <class Char>
struct Beside {
  explicit Beside(const SystemCalls<Char>& system_calls) : calls(system_calls) {}
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;
  ~Beside() {
    if (!exists) return;
    const KeptReason kept(calls.platform().reasons);
    try {
      calls.RemoveOneFile(name);
    } catch (...) {  // There is nobody to tell.
    }
  }

  const SystemCalls<Char>& calls;
  std::basic_string<Char> name;
  bool exists = false;
};

}  // namespace

template <class Char>
bool FileContent<Char>::Replace(const Text& path, std::string_view content) const {
  Text target;
  std::uint32_t attributes = 0;
  // A link stays; what it points to is replaced.
  if (!calls_.FollowLink(path, &target)) return hook_.Report(Failures::kCannotOpenFile);
  const bool exists = calls_.GetAttributes(target, &attributes);
  // A new file would get past what protects this one.
  if (exists && !calls_.IsWritableFile(target)) return hook_.Report(Failures::kCannotOpenFile);
  if (!exists && !MakeParent(target)) return false;
  switch (WriteBeside(target, exists, content)) {
    case SystemResult::Ok:
      return true;
    case SystemResult::Denied:
      return WriteOver(target, content);
    default:
      return hook_.Report(Failures::kCannotWriteFile);
  }
}

// A crash in here can lose the old content; a failure does not, for it takes no more room than it had.
template <class Char>
bool FileContent<Char>::WriteOver(const Text& path, std::string_view content) const {
  std::string old;
  const bool exists = Exists(path);
  if (exists && !Read(path, &old)) return false;
  if (Write(path, content)) return true;
  if (exists) Write(path, old);
  return false;
}

// Denied: the directory takes no new file, and nothing has happened.
template <class Char>
SystemResult FileContent<Char>::WriteBeside(const Text& target, bool exists, std::string_view content) const {
  const Creation creation = exists ? Creation::CreateNewPrivate : Creation::CreateNew;
  Beside<Char> beside(calls_);
  OpenedFile file(open_files());
  SystemResult opened = SystemResult::Exists;
  for (int number = 0; opened == SystemResult::Exists && number < kMostNames; ++number) {
    beside.name = NameBeside(target, number);
    opened = calls_.Open(beside.name, Access::Write, creation, file.Slot());
  }
  if (opened != SystemResult::Ok) return opened;

  beside.exists = true;
  std::size_t done = 0;
  bool replaced =
      open_files().Write(file.handle(), content.data(), content.size(), &done) && open_files().Flush(file.handle());
  replaced = file.Close() && replaced;
  if (replaced && exists) replaced = calls_.CopyPermissions(target, beside.name);
  replaced = replaced && calls_.RenameOver(beside.name, target);
  beside.exists = !replaced;
  return replaced ? SystemResult::Ok : SystemResult::Failed;
}

template bool FileContent<char>::Replace(const Text&, std::string_view) const;
template bool FileContent<char16_t>::Replace(const Text&, std::string_view) const;

}  // namespace OrvWorkFlow
