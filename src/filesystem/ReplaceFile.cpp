// The safe way to give a file new content.
#include <limits>
#include <string>

#include "filesystem/DirectoryWalk.h"
#include "filesystem/FileContent.h"
#include "filesystem/PathText.h"
#include "platform/BesideName.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

template <class Char>
std::basic_string<Char> PathBeside(const std::basic_string<Char>& target, int attempt) {
  const std::size_t separator = LastSeparator<Char>(target);
  const std::size_t name = separator == target.npos ? 0 : separator + 1;
  return target.substr(0, name) + System::BesideName(std::basic_string_view<Char>(target).substr(name), attempt);
}

// The file that is to take the target's place, removed in the end when it has not: also when memory runs out.
template <class Char>
struct Beside {
  explicit Beside(const SystemCalls<Char>& system_calls) : calls(system_calls) {}
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;
  ~Beside() {
    if (!exists) return;
    const System::KeptReason kept(calls.platform().reasons);
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
  OpenedFile turn(open_files());
  if (exists && calls_.TakeTurn(target, turn.Slot()) == System::SystemResult::InUse) {
    return hook_.Report(Failures::kCannotOpenFile);
  }
  switch (WriteBeside(target, exists, content, System::FileHandle::None)) {
    case System::SystemResult::Ok:
      return true;
    case System::SystemResult::Denied:
      turn.Close();  // Who writes takes it.
      return WriteOver(target, content);
    default:
      return hook_.Report(Failures::kCannotWriteFile);
  }
}

template <class Char>
bool FileContent<Char>::Edit(const Text& path, const std::function<bool(std::string&)>& change) const {
  Text target;
  OpenedFile held(open_files());
  std::uint64_t size = 0;
  std::string content;
  if (!Exists(path)) return hook_.Report(Failures::kSourceMissing);
  // As with Replace.
  if (!calls_.FollowLink(path, &target) || calls_.Open(target, System::Access::Edit, System::Creation::OpenExisting,
                                                       held.Slot()) != System::SystemResult::Ok) {
    return hook_.Report(Failures::kCannotOpenFile);
  }
  if (!open_files().GetSize(held.handle(), &size)) return hook_.Report(Failures::kCannotReadFile);
  if (!ReadWhole(held.handle(), size, &content)) return false;
  const std::string old = content;
  if (!change(content)) return hook_.Report(Failures::kInvalidParameter);
  // A larger file could not be read again.
  if (content.size() > std::numeric_limits<std::uint32_t>::max()) {
    return FailFor(Failures::kCannotWriteFile, System::Reason::TooLarge);
  }
  switch (WriteBeside(target, true, content, held.handle())) {
    case System::SystemResult::Ok:
      return true;
    case System::SystemResult::Denied:
      if (WriteHeld(held.handle(), content) && held.Close()) return true;
      break;
    default:
      return hook_.Report(Failures::kCannotWriteFile);
  }
  hook_.Report(Failures::kCannotWriteFile);
  if (held.handle() != System::FileHandle::None) return WriteHeld(held.handle(), old) && false;
  return false;
}

// A crash in here can lose the old content.
template <class Char>
bool FileContent<Char>::WriteHeld(System::FileHandle handle, std::string_view content) const {
  std::size_t done = 0;
  return open_files().MoveTo(handle, 0) && open_files().Write(handle, content.data(), content.size(), &done) &&
         open_files().SetEnd(handle);
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

// Denied: the directory takes no new file, and nothing has happened. `held` is the file if it is being edited.
template <class Char>
System::SystemResult FileContent<Char>::WriteBeside(const Text& target, bool exists, std::string_view content,
                                                    System::FileHandle held) const {
  const System::Creation creation = exists ? System::Creation::CreateNewPrivate : System::Creation::CreateNew;
  Beside<Char> beside(calls_);
  OpenedFile file(open_files());
  System::SystemResult opened = System::SystemResult::Exists;
  for (int number = 0; opened == System::SystemResult::Exists && number < System::kMostNamesBeside; ++number) {
    beside.name = PathBeside(target, number);
    opened = calls_.Open(beside.name, System::Access::Write, creation, file.Slot());
  }
  if (opened != System::SystemResult::Ok) return opened;

  beside.exists = true;
  std::size_t done = 0;
  bool replaced =
      open_files().Write(file.handle(), content.data(), content.size(), &done) && open_files().Flush(file.handle());
  replaced = file.Close() && replaced;
  if (replaced && exists) replaced = calls_.CopyPermissions(target, beside.name);
  if (held != System::FileHandle::None) open_files().LetReplace(held);
  replaced = replaced && calls_.RenameOver(beside.name, target);
  beside.exists = !replaced;
  return replaced ? System::SystemResult::Ok : System::SystemResult::Failed;
}

template bool FileContent<char>::Edit(const Text&, const std::function<bool(std::string&)>&) const;
template bool FileContent<char16_t>::Edit(const Text&, const std::function<bool(std::string&)>&) const;
template bool FileContent<char>::Replace(const Text&, std::string_view) const;
template bool FileContent<char16_t>::Replace(const Text&, std::string_view) const;

}  // namespace OrvWorkFlow::Core::FileSystem
