#include "platform/posix/HostFile.h"

#include <sys/file.h>

#include <cerrno>
#include <climits>
#include <ctime>

#include "platform/posix/PosixReasons.h"

namespace OrvWorkFlow::Core::System::Posix {

SystemResult LastResult() {
  switch (errno) {
    case ENOENT:
    case ENOTDIR:
      return SystemResult::NotFound;
    case EEXIST:
      return SystemResult::Exists;
    case EACCES:
    case EBADF:  // A folder that was opened to be entered only.
    case EPERM:
    case EROFS:
    case EISDIR:
      return SystemResult::Denied;
    default:
      return SystemResult::Failed;
  }
}

Descriptor OpenHost(int folder, const char* name, int flags, mode_t mode) {
  int fd;
  do {
    fd = ::openat(folder, name, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode);
  } while (fd < 0 && errno == EINTR);
  return Descriptor(fd);
}

bool WriteAll(int fd, const void* data, std::size_t size, std::size_t* done) {
  *done = 0;
  const char* bytes = static_cast<const char*>(data);
  while (*done < size) {
    const ssize_t written = ::write(fd, bytes + *done, size - *done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    if (written == 0) return Refuse(Reason::NoSpace);
    *done += static_cast<std::size_t>(written);
  }
  return true;
}

bool ReadAll(int fd, void* data, std::size_t size, std::size_t* done) {
  *done = 0;
  char* bytes = static_cast<char*>(data);
  while (*done < size) {
    const ssize_t count = ::read(fd, bytes + *done, size - *done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    if (count == 0) break;
    *done += static_cast<std::size_t>(count);
  }
  return true;
}

bool HostAttributes(const std::string& path, std::uint32_t* attributes) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) return false;
  std::uint32_t result = 0;
  if (S_ISLNK(status.st_mode)) {
    struct stat target;
    const bool to_directory = ::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
    result = FileAttribute::kLink | (to_directory ? FileAttribute::kDirectory : 0);
  } else {
    if (S_ISDIR(status.st_mode)) result |= FileAttribute::kDirectory;
    if (IsMarkedReadOnly(status)) result |= FileAttribute::kReadOnly;
  }
  *attributes = result == 0 ? FileAttribute::kNormal : result;
  return true;
}

bool IsPlain(const struct stat& status) {
  return S_ISREG(status.st_mode) || Refuse(S_ISDIR(status.st_mode) ? Reason::IsFolder : Reason::NotPlainFile);
}

bool TakeTurn(int fd) {
  constexpr int kMostWaits = 2000;
  constexpr timespec kWait{0, 1'000'000};
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  for (int waits = 0; ::fcntl(fd, F_OFD_SETLK, &whole) != 0;) {
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EACCES) return true;
    if (++waits > kMostWaits) return Refuse(Reason::InUse);
    ::nanosleep(&kWait, nullptr);
  }
  return true;
}

void FlushFolder(int folder, const std::string& path) noexcept {
  const KeptErrno kept;
  const Descriptor opened = OpenHost(folder, path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY, 0);
  if (opened) ::fsync(opened.get());
}

bool LockFile(int fd, bool shared) {
  return ::flock(fd, (shared ? LOCK_SH : LOCK_EX) | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

std::string FollowHostLink(const std::string& path) {
  constexpr int kLongestChain = 40;
  std::string current = path;
  for (int i = 0; i < kLongestChain; ++i) {
    struct stat status;
    if (::lstat(current.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return current;
    char target[PATH_MAX];
    const ssize_t length = ::readlink(current.c_str(), target, sizeof target);
    if (length <= 0 || static_cast<std::size_t>(length) == sizeof target) return {};
    const std::string text(target, static_cast<std::size_t>(length));
    if (text.front() == '/') current.clear();
    current.resize(current.rfind('/') + 1);
    current += text;
    while (current.size() > 1 && current.back() == '/') current.pop_back();
    // "..", if the link has it, counts from where the folders really are.
    const std::size_t slash = current.rfind('/');
    const OwnedText folder(::realpath(current.substr(0, slash + 1).c_str(), nullptr));
    if (!folder) return {};
    const std::string name = current.substr(slash + 1);
    if (name == "." || name == "..") return {};
    current = PathIn(folder.get(), name);
  }
  return {};
}

}  // namespace OrvWorkFlow::Core::System::Posix
