// Files of the host, by platform path.
#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <limits>

#include "base/text/Utf8.h"
#include "platform/SystemParts.h"
#include "platform/posix/EntryCalls.h"
#include "platform/posix/FileCopy.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/PosixReasons.h"
#include "platform/posix/WrittenDisks.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

bool IsPlainOrMissing(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) != 0 || IsPlain(status);
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

int FlagsOf(Access access, Creation creation) {
  const int flags = access == Access::Read ? O_RDONLY : access == Access::Edit ? O_RDWR : O_WRONLY;
  switch (creation) {
    case Creation::OpenExisting:
      return flags;
    case Creation::OpenAlways:
      return flags | O_CREAT;
    case Creation::CreateNew:
    case Creation::CreateNewPrivate:
      break;
  }
  return flags | O_CREAT | O_EXCL;
}

// A new file, or one that is read only: others do not replace it meanwhile, or it does no harm.
SystemResult OpenPlainly(const HostPath& host, int flags, mode_t mode, Descriptor* file) {
  *file = OpenHost(AT_FDCWD, host.path.c_str(), flags, mode);
  if (!*file) return LastResult();
  struct stat status;
  if (::fstat(file->get(), &status) != 0) {
    const SystemResult result = LastResult();
    if ((flags & O_EXCL) != 0) ::unlink(host.path.c_str());  // It was made just now.
    return result;
  }
  if (!IsPlain(status)) return SystemResult::Denied;
  return LockFile(file->get(), false) ? SystemResult::Ok : SystemResult::InUse;
}

SystemResult OpenHostFile(const HostPath& host, Access access, Creation creation, FileHandle* handle) {
  if (host.is_root || host.trailing_separator) {
    Refuse(Reason::IsFolder);
    return SystemResult::Failed;
  }
  const bool creates = creation == Creation::CreateNew || creation == Creation::CreateNewPrivate;
  if (!creates && !IsPlainOrMissing(host.path)) return SystemResult::Denied;
  if (creation != Creation::OpenExisting) EnsureDriveRoot(host);
  const mode_t mode = creation == Creation::CreateNewPrivate ? 0600 : 0666;
  const int flags = FlagsOf(access, creation);
  Descriptor file(-1);
  struct stat status;
  const SystemResult opened = access == Access::Read || creates
                                  ? OpenPlainly(host, flags, mode, &file)
                                  : OpenToChange({AT_FDCWD, host.path.c_str()}, flags, &file, &status);
  if (opened == SystemResult::Ok) *handle = FileHandle{file.Give()};
  return opened;
}

// A file that cannot be opened for writing now (a program that runs) may be replaced all the same.
SystemResult TakeHostTurn(const HostPath& host, FileHandle* handle) {
  const EntryName entry{AT_FDCWD, host.path.c_str()};
  for (;;) {
    Descriptor file = OpenHost(entry.folder, entry.name, O_WRONLY, 0);
    if (!file) return LastResult();
    if (!TakeTurn(file.get())) return SystemResult::InUse;
    if (!IsStillNamed(file.get(), entry)) continue;
    *handle = FileHandle{file.Give()};
    return SystemResult::Ok;
  }
}

template <class Char>
class PosixFiles final : public FilesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  bool GetAttributes(const Text& path, std::uint32_t* attributes) override {
    HostPath host;
    std::uint32_t result;
    if (!ToHostPath(path, &host) || !HostAttributes(host.path, &result)) return false;
    if (host.trailing_separator && (result & FileAttribute::kDirectory) == 0) return Refuse(Reason::NotFound);
    *attributes = result;
    return true;
  }

  bool SetAttributes(const Text& path, std::uint32_t attributes) override {
    HostPath host;
    return ToHostPath(path, &host) && Posix::SetAttributes({AT_FDCWD, host.path.c_str()}, attributes);
  }

  bool IsWritableFile(const Text& path) override {
    HostPath host;
    struct stat status;
    if (!ToHostPath(path, &host) || ::stat(host.path.c_str(), &status) != 0 || !IsPlain(status)) return false;
    if (host.trailing_separator) return Refuse(Reason::NotFound);
    if (IsMarkedReadOnly(status)) return Refuse(Reason::MarkedReadOnly);
    return ::faccessat(AT_FDCWD, host.path.c_str(), W_OK, AT_EACCESS) == 0;
  }

  SystemResult Open(const Text& path, Access access, Creation creation, FileHandle* handle) override {
    HostPath host;
    return ToHostPath(path, &host) ? OpenHostFile(host, access, creation, handle) : SystemResult::NotFound;
  }

  SystemResult TakeTurn(const Text& path, FileHandle* handle) override {
    HostPath host;
    return ToHostPath(path, &host) ? TakeHostTurn(host, handle) : SystemResult::NotFound;
  }

  bool CopyOver(const Text& source, const Text& destination, bool fail_if_exists, CopiedMark mark) override {
    HostPath from;
    HostPath to;
    if (!ToHostPath(source, &from) || !ToHostPath(destination, &to)) return false;
    if (from.trailing_separator || to.trailing_separator) return Refuse(Reason::NotFound);
    EnsureDriveRoot(to);
    return CopyFile({AT_FDCWD, from.path.c_str()}, {AT_FDCWD, to.path.c_str()},
                    {fail_if_exists, mark, Posix::Flush::FolderToo}) == SystemResult::Ok;
  }

  bool RemoveOneFile(const Text& path, Mark mark) override {
    HostPath host;
    if (!ToHostPath(path, &host)) return false;
    if (host.is_root || host.trailing_separator) return Refuse(Reason::IsFolder);
    return RemoveFile({AT_FDCWD, host.path.c_str()}, mark);
  }

  bool RenameOver(const Text& from, const Text& to) override {
    HostPath old_name;
    HostPath new_name;
    struct stat status;
    if (!ToHostPath(from, &old_name) || !ToHostPath(to, &new_name)) return false;
    if (::lstat(new_name.path.c_str(), &status) == 0 && !S_ISLNK(status.st_mode) && IsMarkedReadOnly(status)) {
      return Refuse(Reason::MarkedReadOnly);
    }
    const std::string folder = FolderOf(new_name.path);  // Behind the renaming nothing may fail any more.
    if (::rename(old_name.path.c_str(), new_name.path.c_str()) != 0) return false;
    FlushFolder(AT_FDCWD, folder);
    return true;
  }

  bool CopyPermissions(const Text& from, const Text& to) override {
    HostPath source;
    HostPath target;
    struct stat wanted;
    struct stat present;
    if (!ToHostPath(from, &source) || !ToHostPath(to, &target)) return false;
    if (::stat(source.path.c_str(), &wanted) != 0 || ::lstat(target.path.c_str(), &present) != 0) return false;
    const bool same_owner = wanted.st_uid == present.st_uid && wanted.st_gid == present.st_gid;
    if (!same_owner && ::lchown(target.path.c_str(), wanted.st_uid, wanted.st_gid) != 0) {
      // Only the superuser gives files away; the mode is kept for whoever owns the file then.
    }
    return ::chmod(target.path.c_str(), wanted.st_mode & 0777) == 0;
  }

  bool FollowLink(const Text& path, Text* target) override {
    HostPath host;
    if (!ToHostPath(path, &host)) return false;
    const std::string followed = FollowHostLink(host.path);
    if (followed == host.path) {
      *target = path;
      return true;
    }
    const std::string result = ToDriveZPath(followed);
    if (result.empty()) return Refuse(followed.empty() ? Reason::NotFound : Reason::InvalidName);
    if constexpr (sizeof(Char) == 1) {
      *target = result;
      return true;
    } else {
      return Base::Utf8ToUtf16(result, target);
    }
  }
};

int FdOf(FileHandle handle) { return static_cast<int>(handle); }

class PosixOpenFiles final : public OpenFiles {
 public:
  bool Read(FileHandle handle, void* data, std::size_t size, std::size_t* done) override {
    return ReadAll(FdOf(handle), data, size, done);
  }
  bool Write(FileHandle handle, const void* data, std::size_t size, std::size_t* done) override {
    const bool written = WriteAll(FdOf(handle), data, size, done);
    NoteWritten(FdOf(handle));
    return written;
  }
  bool GetSize(FileHandle handle, std::uint64_t* size) override {
    struct stat status;
    if (::fstat(FdOf(handle), &status) != 0) return false;
    *size = static_cast<std::uint64_t>(status.st_size);
    return true;
  }
  bool MoveTo(FileHandle handle, std::uint64_t position) override {
    if (position > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return Refuse(Reason::TooLarge);
    return ::lseek(FdOf(handle), static_cast<off_t>(position), SEEK_SET) >= 0;
  }
  bool SetEnd(FileHandle handle) override {
    const off_t position = ::lseek(FdOf(handle), 0, SEEK_CUR);
    return position >= 0 && ::ftruncate(FdOf(handle), position) == 0;
  }
  bool Flush(FileHandle handle) override { return ::fsync(FdOf(handle)) == 0; }
  void LetReplace(FileHandle /*handle*/) override {}
  bool Close(FileHandle handle) override { return ::close(FdOf(handle)) == 0 || errno == EINTR; }
};

}  // namespace
}  // namespace Posix

namespace SystemParts {

template <class Char>
FilesOf<Char>& Files() {
  static Posix::PosixFiles<Char> files;
  return files;
}
template FilesOf<char>& Files<char>();
template FilesOf<char16_t>& Files<char16_t>();

OpenFiles& Handles() {
  static Posix::PosixOpenFiles handles;
  return handles;
}

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
