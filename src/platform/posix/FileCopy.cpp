#include "platform/posix/FileCopy.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include "platform/BesideName.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/PosixReasons.h"
#include "platform/posix/WrittenDisks.h"

namespace OrvWorkFlow::Core::System::Posix {
namespace {

SystemResult Denied(Reason reason) {
  Refuse(reason);
  return SystemResult::Denied;
}

// An entry by the folder that it is in; a whole path is taken apart.
struct Place {
  Place(EntryName entry) : folder(entry.folder), name(entry.name) {
    if (folder != AT_FDCWD) return;
    const std::size_t slash = name.rfind('/');
    before = name.substr(0, slash + 1);
    name.erase(0, slash + 1);
  }
  std::string Path(std::string_view other) const { return before + std::string(other); }
  std::string Path() const { return before + name; }

  int folder;
  std::string before;  // The folder's path with "/", or nothing.
  std::string name;
};

// From where both files stand, `size` bytes; files that say that they are empty and are not, as the system's own do, to
// their end.
bool CopyThroughMemory(int from, int to, std::uint64_t size) {
  std::array<char, std::size_t{64} * 1024> buffer;
  for (std::uint64_t copied = 0;;) {
    const std::uint64_t rest = size - copied;
    const std::size_t wanted = size == 0 ? buffer.size() : std::min<std::uint64_t>(rest, buffer.size());
    std::size_t count;
    std::size_t written;
    if (!ReadAll(from, buffer.data(), wanted, &count) || !WriteAll(to, buffer.data(), count, &written)) return false;
    copied += count;
    if (count < wanted || copied == size) return true;
  }
}

// Files are copied by the system. It may share the content of large ones; of small ones that would take longer. What it
// cannot copy is read and written.
bool CopyContent(int from, int to, const struct stat& source) {
  constexpr std::uint64_t kLarge = std::uint64_t{64} * 1024;
  constexpr std::uint64_t kMostAtOnce = std::uint64_t{1} << 30;
  const auto size = static_cast<std::uint64_t>(source.st_size);
  std::uint64_t copied = 0;
  while (copied < size) {
    const std::size_t rest = std::min(size - copied, kMostAtOnce);
    const ssize_t count =
        size > kLarge ? ::copy_file_range(from, nullptr, to, nullptr, rest, 0) : ::sendfile(to, from, nullptr, rest);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == ENOSPC) return false;
    if (count <= 0) break;
    copied += static_cast<std::uint64_t>(count);
  }
  return (copied > 0 && copied == size) || CopyThroughMemory(from, to, size - copied);
}

// A close that fails may have lost content. `folder` is the file's if its disk is known.
bool CloseWritten(Descriptor file, const FolderOnDisk* folder = nullptr) {
  if (folder != nullptr) {
    NoteWrittenIn(*folder);
  } else {
    NoteWritten(file.get());
  }
  return ::close(file.Give()) == 0 || errno == EINTR;
}

// What is copied, open and locked.
struct Source {
  Descriptor file{-1};
  struct stat status {};

  bool IsSame(const struct stat& other) const { return status.st_dev == other.st_dev && status.st_ino == other.st_ino; }
};

bool IsPlainOrMissing(EntryName entry) {
  struct stat status;
  return ::fstatat(entry.folder, entry.name, &status, 0) != 0 || IsPlain(status);
}

// Opening a device may do something: so what may be one is looked at first.
SystemResult OpenSource(EntryName entry, bool listed_as_plain, Source* source) {
  if (!listed_as_plain && !IsPlainOrMissing(entry)) return SystemResult::Denied;
  source->file = OpenHost(entry.folder, entry.name, O_RDONLY, 0);
  if (!source->file) {
    const int reason = errno;
    if (listed_as_plain && !IsPlainOrMissing(entry)) return SystemResult::Denied;
    errno = reason;
    return LastResult();
  }
  if (::fstat(source->file.get(), &source->status) != 0 || !IsPlain(source->status)) return SystemResult::Denied;
  return LockFile(source->file.get(), true) ? SystemResult::Ok : SystemResult::InUse;
}

mode_t ModeFor(const Source& source, CopiedMark mark, mode_t wanted) {
  return mark == CopiedMark::Kept && IsMarkedReadOnly(source.status) ? wanted & ~mode_t{0222} : wanted;
}

// Fills a file that was made for it. A failure leaves it there.
bool Fill(const Source& source, Descriptor file, CopiedMark mark, const FolderOnDisk* folder = nullptr) {
  bool copied = CopyContent(source.file.get(), file.get(), source.status);
  if (copied && mark == CopiedMark::Kept && IsMarkedReadOnly(source.status)) {
    struct stat status;
    copied =
        ::fstat(file.get(), &status) == 0 && ::fchmod(file.get(), ModeFor(source, mark, status.st_mode & 07777)) == 0;
  }
  if (copied) return CloseWritten(std::move(file), folder);
  const KeptErrno kept;
  CloseWritten(std::move(file), folder);
  return false;
}

SystemResult CopyToNew(const Source& source, EntryName entry, CopiedMark mark, const dev_t* disk = nullptr) {
  // A new file may be run if the source may.
  const mode_t mode = (source.status.st_mode & 0777) | S_IWUSR;
  Descriptor file = OpenHost(entry.folder, entry.name, O_WRONLY | O_CREAT | O_EXCL, mode);
  if (!file) return LastResult();
  if (!LockFile(file.get(), false)) return SystemResult::InUse;
  const FolderOnDisk folder{entry.folder, disk != nullptr ? *disk : 0};
  if (Fill(source, std::move(file), mark, disk != nullptr ? &folder : nullptr)) return SystemResult::Ok;
  const KeptErrno kept;
  ::unlinkat(entry.folder, entry.name, 0);
  return SystemResult::Failed;
}

// Where the folder takes no new file. The old content is lost when this fails.
SystemResult CopyInPlace(const Source& source, Descriptor old, const Place& place, CopiedMark mark) {
  if (::ftruncate(old.get(), 0) == 0 && Fill(source, std::move(old), mark)) return SystemResult::Ok;
  const KeptErrno kept;
  ::unlinkat(place.folder, place.Path().c_str(), 0);
  return SystemResult::Failed;
}

// Gives a file the owner and the mode of the one that it replaces.
bool TakePermissions(int file, const struct stat& old, mode_t mode) {
  struct stat present;
  if (::fstat(file, &present) != 0) return false;
  const bool same_owner = old.st_uid == present.st_uid && old.st_gid == present.st_gid;
  if (!same_owner && ::fchown(file, old.st_uid, old.st_gid) != 0) {
    // Only the superuser gives files away; the mode is kept for whoever owns the file then.
  }
  return ::fchmod(file, mode & 0777) == 0;
}

SystemResult CopyBeside(const Source& source, Descriptor old, const struct stat& status, const Place& place,
                        CopiedMark mark, Flush flush) {
  std::string path;
  Descriptor file(-1);
  errno = EEXIST;
  for (int attempt = 0; !file && errno == EEXIST && attempt < kMostNamesBeside; ++attempt) {
    path = place.Path(BesideName(std::string_view(place.name), attempt));
    file = OpenHost(place.folder, path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
  }
  if (!file)
    return LastResult() == SystemResult::Denied ? CopyInPlace(source, std::move(old), place, mark) : LastResult();
  LockFile(file.get(), false);
  // The old file is gone when the new one has its name: what is in that must be on the disk.
  const bool copied = CopyContent(source.file.get(), file.get(), source.status) &&
                      TakePermissions(file.get(), status, ModeFor(source, mark, status.st_mode)) &&
                      ::fsync(file.get()) == 0 && CloseWritten(std::move(file)) &&
                      ::renameat(place.folder, path.c_str(), place.folder, place.Path().c_str()) == 0;
  if (copied) {
    if (flush == Flush::FolderToo) FlushFolder(place.folder, place.before);
    return SystemResult::Ok;
  }
  const KeptErrno kept;
  ::unlinkat(place.folder, path.c_str(), 0);
  return SystemResult::Failed;
}

SystemResult CopyToOld(const Source& source, EntryName entry, CopiedMark mark, Flush flush) {
  struct stat status;
  if (::fstatat(entry.folder, entry.name, &status, 0) == 0) {
    if (!IsPlain(status)) return SystemResult::Denied;
    if (source.IsSame(status)) return Denied(Reason::SameFile);
  }
  Descriptor old(-1);
  const SystemResult opened = OpenToChange(entry, O_WRONLY, &old, &status);
  if (opened != SystemResult::Ok) return opened;
  return CopyBeside(source, std::move(old), status, Place(entry), mark, flush);
}

}  // namespace

SystemResult CopyFile(EntryName source_name, EntryName destination, const CopyWay& way) {
  Source source;
  const SystemResult opened = OpenSource(source_name, way.listed_as_plain, &source);
  if (opened != SystemResult::Ok) return opened;
  const SystemResult copied = CopyToNew(source, destination, way.mark, way.disk);
  if (copied != SystemResult::Exists || way.fail_if_exists) return copied;
  struct stat status;
  const bool is_link =
      ::fstatat(destination.folder, destination.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
  if (!is_link) return CopyToOld(source, destination, way.mark, way.flush);
  // The link stays; what it points to is replaced, or made.
  const std::string target = FollowHostLink(PathOf(destination));
  if (target.empty()) return Denied(Reason::TooManyLinks);
  const EntryName entry{AT_FDCWD, target.c_str()};
  const SystemResult made = CopyToNew(source, entry, way.mark);
  return made == SystemResult::Exists ? CopyToOld(source, entry, way.mark, way.flush) : made;
}

}  // namespace OrvWorkFlow::Core::System::Posix
