#include "platform/posix/EntryCalls.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/posix/HostFile.h"
#include "platform/posix/PosixReasons.h"

namespace OrvWorkFlow::Core::System::Posix {
namespace {

bool StatusOf(EntryName entry, int flags, struct stat* status) {
  return ::fstatat(entry.folder, entry.name, status, flags) == 0;
}

bool LeadsToFolder(EntryName entry) {
  struct stat target;
  return StatusOf(entry, 0, &target) && S_ISDIR(target.st_mode);
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

bool RemoveFile(EntryName entry, Mark mark) {
  struct stat status;
  if (!StatusOf(entry, AT_SYMLINK_NOFOLLOW, &status)) return false;
  if (S_ISDIR(status.st_mode)) return Refuse(Reason::IsFolder);
  if (S_ISLNK(status.st_mode)) {
    if (LeadsToFolder(entry)) return Refuse(Reason::IsFolder);
  } else if (mark == Mark::Counts && IsMarkedReadOnly(status)) {
    return Refuse(Reason::MarkedReadOnly);
  } else if (S_ISREG(status.st_mode)) {
    const Descriptor file = OpenHost(entry.folder, entry.name, O_RDONLY | O_NOFOLLOW, 0);
    if (file && !LockFile(file.get(), false)) return false;
  }
  return ::unlinkat(entry.folder, entry.name, 0) == 0;
}

bool RemoveFolder(EntryName entry, Mark mark, DanglingLinks links) {
  struct stat status;
  if (!StatusOf(entry, AT_SYMLINK_NOFOLLOW, &status)) return false;
  if (S_ISLNK(status.st_mode)) {
    const bool removed = links == DanglingLinks::Removed || LeadsToFolder(entry);
    return removed ? ::unlinkat(entry.folder, entry.name, 0) == 0 : Refuse(Reason::NotFound);
  }
  if (mark == Mark::Counts && IsMarkedReadOnly(status)) return Refuse(Reason::MarkedReadOnly);
  return ::unlinkat(entry.folder, entry.name, AT_REMOVEDIR) == 0;
}

SystemResult CreateFolder(EntryName entry) {
  return ::mkdirat(entry.folder, entry.name, 0777) == 0 ? SystemResult::Ok : LastResult();
}

std::string PathOf(EntryName entry) {
  if (entry.folder == AT_FDCWD) return entry.name;
  return "/proc/self/fd/" + std::to_string(entry.folder) + "/" + entry.name;
}

bool IsStillNamed(int file, EntryName entry) {
  struct stat own;
  struct stat named;
  return ::fstat(file, &own) == 0 && StatusOf(entry, 0, &named) && own.st_dev == named.st_dev &&
         own.st_ino == named.st_ino;
}

SystemResult OpenToChange(EntryName entry, int flags, Descriptor* file, struct stat* status) {
  constexpr int kMostReplacements = 100;  // By others, between opening and locking.
  const auto denied = [](Reason reason) {
    Refuse(reason);
    return SystemResult::Denied;
  };
  for (int attempt = 0; attempt < kMostReplacements; ++attempt) {
    Descriptor opened = OpenHost(entry.folder, entry.name, flags, 0666);
    if (!opened) return LastResult();
    if (::fstat(opened.get(), status) != 0) return LastResult();
    if (!IsPlain(*status)) return SystemResult::Denied;
    // The superuser passes every mode; the mark counts all the same.
    if (IsMarkedReadOnly(*status)) return denied(Reason::MarkedReadOnly);
    if (!LockFile(opened.get(), false) || !TakeTurn(opened.get())) return SystemResult::InUse;
    if (!IsStillNamed(opened.get(), entry)) continue;
    *file = std::move(opened);
    return SystemResult::Ok;
  }
  Refuse(Reason::InUse);
  return SystemResult::InUse;
}

}  // namespace OrvWorkFlow::Core::System::Posix
