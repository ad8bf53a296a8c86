#include "platform/posix/EntryCalls.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/posix/HostFile.h"
#include "platform/posix/PosixReasons.h"
#include "platform/posix/WrittenDisks.h"

namespace OrvWorkFlow::Posix {
namespace {

bool StatusOf(EntryName entry, int flags, struct stat* status) {
  return ::fstatat(entry.folder, entry.name, status, flags) == 0;
}

bool LeadsToFolder(EntryName entry) {
  struct stat target;
  return StatusOf(entry, 0, &target) && S_ISDIR(target.st_mode);
}

bool IsPlain(const struct stat& status) {
  return S_ISREG(status.st_mode) || Refuse(S_ISDIR(status.st_mode) ? Reason::IsFolder : Reason::NotPlainFile);
}

bool IsPlainOrMissing(EntryName entry) {
  struct stat status;
  return !StatusOf(entry, 0, &status) || IsPlain(status);
}

// A path that leads to the entry.
std::string PathOf(EntryName entry) {
  if (entry.folder == AT_FDCWD) return entry.name;
  return "/proc/self/fd/" + std::to_string(entry.folder) + "/" + entry.name;
}

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

// Large files are copied by the system, which may share their content; what it cannot copy is read and written.
bool CopyContent(int from, int to, const struct stat& source) {
  constexpr std::uint64_t kLarge = std::uint64_t{64} * 1024;
  constexpr std::uint64_t kMostAtOnce = std::uint64_t{1} << 30;
  const auto size = static_cast<std::uint64_t>(source.st_size);
  std::uint64_t copied = 0;
  while (size > kLarge && copied < size) {
    const ssize_t count = ::copy_file_range(from, nullptr, to, nullptr, std::min(size - copied, kMostAtOnce), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == ENOSPC) return false;
    if (count <= 0) break;
    copied += static_cast<std::uint64_t>(count);
  }
  return (copied > 0 && copied == size) || CopyThroughMemory(from, to, size - copied);
}

struct Destination {
  Descriptor file{-1};
  bool existed = false;
};

// Opens the destination for writing, and makes it if nothing is there.
SystemResult OpenDestination(EntryName entry, const struct stat& source, bool fail_if_exists, Destination* result) {
  // A new file may be run if the source may.
  const mode_t mode = (source.st_mode & 0777) | S_IWUSR;
  result->file = OpenHost(entry.folder, entry.name, O_WRONLY | O_CREAT | O_EXCL, mode);
  result->existed = !result->file && errno == EEXIST;
  if (result->existed && !fail_if_exists) {
    if (!IsPlainOrMissing(entry)) return SystemResult::Denied;
    result->file = OpenHost(entry.folder, entry.name, O_WRONLY | O_CREAT, mode);
  }
  if (!result->file) return LastResult();
  if (!result->existed) return SystemResult::Ok;
  struct stat status;
  if (::fstat(result->file.get(), &status) != 0 || !IsPlain(status)) return SystemResult::Denied;
  const bool same = source.st_dev == status.st_dev && source.st_ino == status.st_ino;
  if (!same && !IsMarkedReadOnly(status)) return SystemResult::Ok;
  Refuse(same ? Reason::SameFile : Reason::MarkedReadOnly);
  return SystemResult::Denied;
}

bool CopyInto(const Descriptor& from, const struct stat& source, Destination destination, CopiedMark mark) {
  const int to = destination.file.get();
  bool copied = (!destination.existed || ::ftruncate(to, 0) == 0) && CopyContent(from.get(), to, source);
  if (copied && mark == CopiedMark::Kept && IsMarkedReadOnly(source)) {
    struct stat status;
    copied = ::fstat(to, &status) == 0 && ::fchmod(to, status.st_mode & 07777 & ~mode_t{0222}) == 0;
  }
  NoteWritten(to);
  const KeptErrno kept;
  return ::close(destination.file.Give()) == 0 && copied;
}

}  // namespace

bool IsThere(EntryName entry) {
  struct stat status;
  return StatusOf(entry, AT_SYMLINK_NOFOLLOW, &status);
}

bool SetAttributes(EntryName entry, std::uint32_t attributes) {
  struct stat status;
  if (!StatusOf(entry, AT_SYMLINK_NOFOLLOW, &status)) return false;
  if (S_ISLNK(status.st_mode)) return true;
  const bool read_only = (attributes & FileAttribute::kReadOnly) != 0;
  if (read_only == IsMarkedReadOnly(status)) return true;
  const mode_t mode = status.st_mode & 07777;
  return ::fchmodat(entry.folder, entry.name, read_only ? mode & ~mode_t{0222} : mode | S_IWUSR, 0) == 0;
}

bool RemoveFile(EntryName entry) {
  struct stat status;
  if (!StatusOf(entry, AT_SYMLINK_NOFOLLOW, &status)) return false;
  if (S_ISDIR(status.st_mode)) return Refuse(Reason::IsFolder);
  if (S_ISLNK(status.st_mode)) {
    if (LeadsToFolder(entry)) return Refuse(Reason::IsFolder);
  } else if (IsMarkedReadOnly(status)) {
    return Refuse(Reason::MarkedReadOnly);
  } else if (S_ISREG(status.st_mode)) {
    const Descriptor file = OpenHost(entry.folder, entry.name, O_RDONLY | O_NOFOLLOW, 0);
    if (file && !LockFile(file.get(), false)) return false;
  }
  return ::unlinkat(entry.folder, entry.name, 0) == 0;
}

bool RemoveFolder(EntryName entry) {
  struct stat status;
  if (!StatusOf(entry, AT_SYMLINK_NOFOLLOW, &status)) return false;
  if (S_ISLNK(status.st_mode)) return LeadsToFolder(entry) && ::unlinkat(entry.folder, entry.name, 0) == 0;
  if (IsMarkedReadOnly(status)) return Refuse(Reason::MarkedReadOnly);
  return ::unlinkat(entry.folder, entry.name, AT_REMOVEDIR) == 0;
}

SystemResult CreateFolder(EntryName entry) {
  return ::mkdirat(entry.folder, entry.name, 0777) == 0 ? SystemResult::Ok : LastResult();
}

SystemResult CopyFile(EntryName source_name, EntryName destination_name, bool fail_if_exists, CopiedMark mark) {
  if (!IsPlainOrMissing(source_name)) return SystemResult::Denied;
  const Descriptor from = OpenHost(source_name.folder, source_name.name, O_RDONLY, 0);
  if (!from) return LastResult();
  struct stat source;
  if (::fstat(from.get(), &source) != 0 || !IsPlain(source)) return SystemResult::Denied;
  if (!LockFile(from.get(), true)) return SystemResult::InUse;
  Destination destination;
  const SystemResult opened = OpenDestination(destination_name, source, fail_if_exists, &destination);
  if (opened != SystemResult::Ok) return opened;
  if (!LockFile(destination.file.get(), false)) return SystemResult::InUse;
  if (CopyInto(from, source, std::move(destination), mark)) return SystemResult::Ok;
  const KeptErrno kept;
  const std::string partial = FollowHostLink(PathOf(destination_name));
  if (!partial.empty()) ::unlink(partial.c_str());
  return SystemResult::Failed;
}

}  // namespace OrvWorkFlow::Posix
