// What files and directories of the host share: descriptors, statuses, errors.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Files.h"
#include "platform/posix/HostPath.h"

namespace OrvWorkFlow::Core::System::Posix {

// Owns a descriptor.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  int Give() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

struct Freer {
  void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, Freer>;

// The path of a name in a folder ("/" included).
inline std::string PathIn(std::string_view folder, std::string_view name) {
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  path.append(folder);
  if (folder != "/") path += '/';
  return path.append(name);
}

// From `errno`.
SystemResult LastResult();

// Interrupted calls are made again; opening never waits for the other end of a pipe.
Descriptor OpenHost(int folder, const char* name, int flags, mode_t mode);
// All, or what there is until the end of the file.
bool ReadAll(int fd, void* data, std::size_t size, std::size_t* done);
bool WriteAll(int fd, const void* data, std::size_t size, std::size_t* done);

// Calls `use(name)` for each name in a folder, "." and ".." included, as far as it can be read.
template <class Use>
void ForEachName(Descriptor folder, const Use& use) {
  DIR* const directory = folder ? ::fdopendir(folder.get()) : nullptr;
  if (directory == nullptr) return;
  folder.Give();
  const std::unique_ptr<DIR, int (*)(DIR*)> closed(directory, &::closedir);
  while (const dirent* entry = ::readdir(directory)) use(std::string_view(entry->d_name));
}
// The same for one that stays open.
template <class Use>
void ForEachName(int folder, const Use& use) {
  ForEachName(OpenHost(folder, ".", O_RDONLY | O_DIRECTORY, 0), use);
}

// The attributes of what has that host path, without following a link; false when there is nothing.
bool HostAttributes(const std::string& path, std::uint32_t* attributes);

inline bool IsMarkedReadOnly(const struct stat& status) { return (status.st_mode & S_IWUSR) == 0; }

// With the reason, if it is none.
bool IsPlain(const struct stat& status);

// Waits until no other handle of this library has its turn at changing or replacing an open file, for two seconds at
// most; false, with the reason, when that takes longer. The turn ends when the file is closed. File systems that know
// no locks let everything pass.
bool TakeTurn(int fd);

// A disk that cannot flush a folder changes nothing in what it holds. The path starts at `folder`; empty for itself.
void FlushFolder(int folder, const std::string& path) noexcept;

// Locks an open file against this library's other handles; false, with the reason, when one of them forbids it. File
// systems that know no locks let everything pass.
bool LockFile(int fd, bool shared);

// What a link leads to in the end, as a host path; the path itself when it is no link. Empty for an endless chain and
// when the folder of the target is missing.
std::string FollowHostLink(const std::string& path);

}  // namespace OrvWorkFlow::Core::System::Posix
