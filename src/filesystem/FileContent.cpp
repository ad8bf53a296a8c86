#include "filesystem/FileContent.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "filesystem/DirectoryWalk.h"
#include "filesystem/PathText.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Where the names of a path begin: behind the server and the share of a network path.
template <class Char>
std::size_t FirstName(const std::basic_string<Char>& path) {
  if (path.size() < 2 || !IsSeparator(path[0]) || !IsSeparator(path[1])) return 0;
  constexpr Char kSeparators[] = {'\\', '/', 0};
  const std::size_t share = path.find_first_of(kSeparators, 2);
  const std::size_t end = share == path.npos ? path.npos : path.find_first_of(kSeparators, share + 1);
  return end == path.npos ? path.size() : end;
}

}  // namespace

template <class Char>
bool FileContent<Char>::Exists(const Text& path) const {
  std::uint32_t attributes = 0;
  if (!calls_.GetAttributes(path, &attributes)) return false;
  if ((attributes & System::FileAttribute::kDirectory) == 0) return true;
  reasons().SetLastCode(System::RefusalCode(System::Reason::IsFolder));
  return false;
}

template <class Char>
bool FileContent<Char>::MakeDirectory(const Text& path) const {
  for (std::size_t end = FirstName(path); end < path.size();) {
    while (end < path.size() && IsSeparator(path[end])) ++end;
    if (end == path.size()) break;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    const Text prefix = path.substr(0, end);
    if (IsBareDrive<Char>(prefix) || IsDirectory(calls_, prefix)) continue;
    if (calls_.CreateOneDirectory(prefix) == System::SystemResult::Ok) continue;
    const System::KeptReason kept(reasons());
    // Somebody else may have made it in between.
    if (IsDirectory(calls_, prefix)) continue;
    kept.Restore();
    return hook_.Report(Failures::kCannotCreateDirectory);
  }
  return true;
}

template <class Char>
bool FileContent<Char>::FailFor(const Failure& failure, System::Reason reason) const {
  reasons().SetLastCode(System::RefusalCode(reason));
  return hook_.Report(failure);
}

template <class Char>
bool FileContent<Char>::MakeParent(const Text& path) const {
  const std::size_t separator = LastSeparator<Char>(path);
  return separator == path.npos || MakeDirectory(path.substr(0, separator));
}

template <class Char>
bool FileContent<Char>::Make(const Text& path) const {
  OpenedFile file(open_files());
  const bool made =
      MakeParent(path) &&
      calls_.Open(path, System::Access::Read, System::Creation::OpenAlways, file.Slot()) == System::SystemResult::Ok &&
      file.Close();
  return made || hook_.Report(Failures::kCannotCreateFile);
}

template <class Char>
bool FileContent<Char>::GetSize(const Text& path, std::uint64_t* size) const {
  OpenedFile file(open_files());
  const bool known = calls_.Open(path, System::Access::Read, System::Creation::OpenExisting, file.Slot()) ==
                         System::SystemResult::Ok &&
                     open_files().GetSize(file.handle(), size);
  return known || hook_.Report(Failures::kCannotOpenForSize);
}

template <class Char>
bool FileContent<Char>::Remove(const Text& path) const {
  return !Exists(path) || calls_.RemoveOneFile(path) || hook_.Report(Failures::kCannotDeleteFile);
}

template <class Char>
bool FileContent<Char>::OpenForReading(const Text& path, OpenedFile& file, std::uint64_t* size) const {
  if (!Exists(path)) return hook_.Report(Failures::kSourceMissing);
  if (calls_.Open(path, System::Access::Read, System::Creation::OpenExisting, file.Slot()) !=
      System::SystemResult::Ok) {
    return hook_.Report(Failures::kCannotOpenFile);
  }
  return open_files().GetSize(file.handle(), size) || hook_.Report(Failures::kCannotReadFile);
}

template <class Char>
bool FileContent<Char>::OpenWhole(const Text& path, OpenedFile& file, std::uint64_t* size) const {
  if (!OpenForReading(path, file, size)) return false;
  return *size <= std::numeric_limits<std::uint32_t>::max() ||
         FailFor(Failures::kCannotReadFile, System::Reason::TooLarge);
}

template <class Char>
bool FileContent<Char>::ReadHere(System::FileHandle handle, std::uint64_t count, IOrvBasicStream* content) const {
  if (!std::in_range<std::size_t>(count)) return FailFor(Failures::kCannotReadFile, System::Reason::TooLarge);
  const auto size = static_cast<std::size_t>(count);
  void* const room = content->GetSize() == 0 && size > 0 ? content->Room(size) : nullptr;
  std::string copy(room == nullptr ? size : 0, '\0');
  std::size_t done = 0;
  if (!open_files().Read(handle, room == nullptr ? copy.data() : room, size, &done)) {
    return hook_.Report(Failures::kCannotReadFile);
  }
  return room == nullptr ? content->Assign(copy.data(), done) : content->Commit(done);
}

template <class Char>
bool FileContent<Char>::Read(const Text& path, std::string* content) const {
  OpenedFile file(open_files());
  std::uint64_t size = 0;
  if (!OpenWhole(path, file, &size)) return false;
  return ReadWhole(file.handle(), size, content);
}

template <class Char>
bool FileContent<Char>::ReadWhole(System::FileHandle handle, std::uint64_t size, std::string* content) const {
  if (size > std::numeric_limits<std::uint32_t>::max())
    return FailFor(Failures::kCannotReadFile, System::Reason::TooLarge);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  std::size_t done = 0;
  if (!open_files().Read(handle, bytes.data(), bytes.size(), &done)) return hook_.Report(Failures::kCannotReadFile);
  bytes.resize(done);
  *content = std::move(bytes);
  return true;
}

template <class Char>
bool FileContent<Char>::Read(const Text& path, IOrvBasicStream* content) const {
  OpenedFile file(open_files());
  std::uint64_t size = 0;
  return OpenWhole(path, file, &size) && ReadHere(file.handle(), size, content);
}

template <class Char>
bool FileContent<Char>::ReadRange(const Text& path, std::uint64_t first, std::uint64_t count,
                                  IOrvBasicStream* content) const {
  OpenedFile file(open_files());
  std::uint64_t size = 0;
  if (!OpenForReading(path, file, &size)) return false;
  const std::uint64_t start = std::min(first, size);
  if (!open_files().MoveTo(file.handle(), start)) return hook_.Report(Failures::kCannotReadFile);
  return ReadHere(file.handle(), std::min(count, size - start), content);
}

template <class Char>
bool FileContent<Char>::OpenForWriting(const Text& path, System::FileHandle* handle) const {
  if (!Exists(path) && !Make(path)) return hook_.Report(Failures::kDestinationMissing);
  return calls_.Open(path, System::Access::Write, System::Creation::OpenAlways, handle) == System::SystemResult::Ok ||
         hook_.Report(Failures::kCannotOpenFile);
}

template <class Char>
bool FileContent<Char>::WriteAt(Position position, const Text& path, std::string_view content) const {
  OpenedFile file(open_files());
  System::OpenFiles& files = open_files();
  if (!OpenForWriting(path, file.Slot())) return false;
  std::uint64_t old_size = 0;
  std::size_t done = 0;
  const System::FileHandle handle = file.handle();
  const bool placed =
      files.GetSize(handle, &old_size) && (position == Position::Start || files.MoveTo(handle, old_size));
  if (!placed) return hook_.Report(Failures::kCannotWriteFile);
  if (!files.Write(handle, content.data(), content.size(), &done)) {
    const System::KeptReason kept(reasons());
    if (files.MoveTo(handle, old_size)) files.SetEnd(handle);
    kept.Restore();
    return hook_.Report(Failures::kCannotWriteFile);
  }
  const bool ended = position == Position::End || files.SetEnd(handle);
  if (ended && file.Close()) return true;
  const System::KeptReason kept(reasons());
  if (position == Position::End) CutBack(path, old_size);
  kept.Restore();
  return hook_.Report(Failures::kCannotWriteFile);
}

template <class Char>
void FileContent<Char>::CutBack(const Text& path, std::uint64_t size) const {
  OpenedFile file(open_files());
  if (calls_.Open(path, System::Access::Write, System::Creation::OpenExisting, file.Slot()) != System::SystemResult::Ok)
    return;
  if (open_files().MoveTo(file.handle(), size)) open_files().SetEnd(file.handle());
}

template <class Char>
bool FileContent<Char>::Write(const Text& path, std::string_view content) const {
  return WriteAt(Position::Start, path, content);
}

template <class Char>
bool FileContent<Char>::Append(const Text& path, std::string_view content) const {
  return WriteAt(Position::End, path, content);
}

template class FileContent<char>;
template class FileContent<char16_t>;

}  // namespace OrvWorkFlow::Core::FileSystem
