#include "filesystem/FileContent.h"

#include <limits>

#include "filesystem/DirectoryWalk.h"
#include "filesystem/OpenedFile.h"
#include "filesystem/PathText.h"

namespace OrvWorkFlow {
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
  return calls_.GetAttributes(path, &attributes) && (attributes & FileAttribute::kDirectory) == 0;
}

template <class Char>
bool FileContent<Char>::MakeDirectory(const Text& path) const {
  for (std::size_t end = FirstName(path); end < path.size();) {
    while (end < path.size() && IsSeparator(path[end])) ++end;
    if (end == path.size()) break;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    const Text prefix = path.substr(0, end);
    if (IsBareDrive<Char>(prefix) || IsDirectory(calls_, prefix)) continue;
    if (calls_.CreateOneDirectory(prefix) == SystemResult::Ok) continue;
    // Somebody else may have made it in between.
    if (!IsDirectory(calls_, prefix)) return hook_.Report(Failures::kCannotCreateDirectory);
  }
  return true;
}

template <class Char>
bool FileContent<Char>::MakeParent(const Text& path) const {
  const std::size_t separator = LastSeparator<Char>(path);
  return separator == path.npos || MakeDirectory(path.substr(0, separator));
}

template <class Char>
bool FileContent<Char>::Make(const Text& path) const {
  OpenedFile file(open_files());
  const bool made = MakeParent(path) &&
                    calls_.Open(path, Access::Read, Creation::OpenAlways, file.Slot()) == SystemResult::Ok &&
                    file.Close();
  return made || hook_.Report(Failures::kCannotCreateFile);
}

template <class Char>
bool FileContent<Char>::GetSize(const Text& path, std::uint64_t* size) const {
  OpenedFile file(open_files());
  const bool known = calls_.Open(path, Access::Read, Creation::OpenExisting, file.Slot()) == SystemResult::Ok &&
                     open_files().GetSize(file.handle(), size);
  return known || hook_.Report(Failures::kCannotOpenForSize);
}

template <class Char>
bool FileContent<Char>::Remove(const Text& path) const {
  if (!Exists(path)) return true;
  calls_.SetAttributes(path, FileAttribute::kNormal);
  return calls_.RemoveOneFile(path) || hook_.Report(Failures::kCannotDeleteFile);
}

template <class Char>
bool FileContent<Char>::OpenForReading(const Text& path, OpenedFile& file, std::size_t* size) const {
  if (!Exists(path)) return hook_.Report(Failures::kSourceMissing);
  if (calls_.Open(path, Access::Read, Creation::OpenExisting, file.Slot()) != SystemResult::Ok) {
    return hook_.Report(Failures::kCannotOpenFile);
  }
  std::uint64_t all = 0;
  if (!open_files().GetSize(file.handle(), &all) || all > std::numeric_limits<std::uint32_t>::max()) {
    return hook_.Report(Failures::kCannotReadFile);
  }
  *size = static_cast<std::size_t>(all);
  return true;
}

template <class Char>
bool FileContent<Char>::Read(const Text& path, std::string* content) const {
  OpenedFile file(open_files());
  std::size_t size = 0;
  if (!OpenForReading(path, file, &size)) return false;
  std::string bytes(size, '\0');
  std::size_t done = 0;
  if (!open_files().Read(file.handle(), bytes.data(), bytes.size(), &done)) {
    return hook_.Report(Failures::kCannotReadFile);
  }
  bytes.resize(done);
  *content = std::move(bytes);
  return true;
}

template <class Char>
bool FileContent<Char>::Read(const Text& path, IOrvBasicStream* content) const {
  OpenedFile file(open_files());
  std::size_t size = 0;
  if (!OpenForReading(path, file, &size)) return false;
  void* const room = content->GetSize() == 0 && size > 0 ? content->Room(size) : nullptr;
  std::string copy(room == nullptr ? size : 0, '\0');
  std::size_t done = 0;
  if (!open_files().Read(file.handle(), room == nullptr ? copy.data() : room, size, &done)) {
    return hook_.Report(Failures::kCannotReadFile);
  }
  return room == nullptr ? content->Assign(copy.data(), done) : content->Commit(done);
}

template <class Char>
bool FileContent<Char>::OpenForWriting(const Text& path, FileHandle* handle) const {
  if (!Exists(path) && !Make(path)) return hook_.Report(Failures::kDestinationMissing);
  return calls_.Open(path, Access::Write, Creation::OpenAlways, handle) == SystemResult::Ok ||
         hook_.Report(Failures::kCannotOpenFile);
}

template <class Char>
bool FileContent<Char>::Write(const Text& path, std::string_view content) const {
  OpenedFile file(open_files());
  if (!OpenForWriting(path, file.Slot())) return false;
  std::size_t done = 0;
  const bool written = open_files().Write(file.handle(), content.data(), content.size(), &done) &&
                       open_files().SetEnd(file.handle()) && file.Close();
  return written || hook_.Report(Failures::kCannotWriteFile);
}

template <class Char>
bool FileContent<Char>::Append(const Text& path, std::string_view content) const {
  OpenedFile file(open_files());
  if (!OpenForWriting(path, file.Slot())) return false;
  std::uint64_t old_size = 0;
  std::size_t done = 0;
  if (!open_files().GetSize(file.handle(), &old_size) || !open_files().MoveTo(file.handle(), old_size)) {
    return hook_.Report(Failures::kCannotWriteFile);
  }
  if (!open_files().Write(file.handle(), content.data(), content.size(), &done)) {
    if (open_files().MoveTo(file.handle(), old_size)) open_files().SetEnd(file.handle());
    return hook_.Report(Failures::kCannotWriteFile);
  }
  return file.Close() || hook_.Report(Failures::kCannotWriteFile);
}

template class FileContent<char>;
template class FileContent<char16_t>;

}  // namespace OrvWorkFlow
