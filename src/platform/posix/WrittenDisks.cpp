#include "platform/posix/WrittenDisks.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "base/lock/Mutex.h"
#include "platform/SystemParts.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/PosixReasons.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

struct Disk {
  dev_t device;
  std::string folder;  // One on the disk.
};

// The path of an open file or folder; "/" when it is not to be had.
std::string PathOf(int file) {
  const OwnedText path(::realpath(("/proc/self/fd/" + std::to_string(file)).c_str(), nullptr));
  return path ? path.get() : "/";
}

std::string FolderOf(int file) {
  const std::string path = PathOf(file);
  return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
}

// A disk whose folder is gone, or stands on another disk by now, is flushed with all others.
bool Flush(const Disk& disk) {
  const Descriptor folder = OpenHost(AT_FDCWD, disk.folder.c_str(), O_RDONLY | O_DIRECTORY, 0);
  struct stat status;
  if (folder && ::fstat(folder.get(), &status) == 0 && status.st_dev == disk.device) {
    return ::syncfs(folder.get()) == 0;
  }
  ::sync();
  return true;
}

class WrittenDisks final : public WrittenFiles {
 public:
  // `folder_path()` is asked for a disk that is not known yet.
  template <class FolderPath>
  void Note(dev_t device, const FolderPath& folder_path) {
    if (last_.load(std::memory_order_relaxed) == device) return;
    const Base::Hold lock(mutex_);
    const auto same = [=](const Disk& disk) { return disk.device == device; };
    if (std::none_of(disks_.begin(), disks_.end(), same)) disks_.push_back({device, folder_path()});
    last_ = device;
  }

  bool FlushAll() override {
    std::vector<Disk> disks;
    {
      const Base::Hold lock(mutex_);
      disks.swap(disks_);
      last_ = kNone;
    }
    bool flushed = true;
    for (Disk& disk : disks) {
      if (Flush(disk)) continue;
      flushed = false;
      const Base::Hold lock(mutex_);
      disks_.push_back(std::move(disk));
    }
    return flushed;
  }

 private:
  static constexpr dev_t kNone = ~dev_t{0};

  Base::Mutex mutex_;  // Guards the disks; a leaf.
  std::vector<Disk> disks_ ORV_GUARDED_BY(mutex_);
  std::atomic<dev_t> last_ = kNone;
};

WrittenDisks& TheDisks() {
  static WrittenDisks disks;
  return disks;
}

}  // namespace

void NoteWritten(int file) noexcept {
  const KeptErrno kept;
  struct stat status;
  if (::fstat(file, &status) != 0) return;
  try {
    TheDisks().Note(status.st_dev, [=] { return FolderOf(file); });
  } catch (...) {  // Without memory the disk is flushed at once instead.
    ::syncfs(file);
  }
}

void NoteWrittenIn(const FolderOnDisk& folder) noexcept {
  const KeptErrno kept;
  try {
    TheDisks().Note(folder.disk, [&] { return PathOf(folder.folder); });
  } catch (...) {
    ::syncfs(folder.folder);
  }
}

}  // namespace Posix

namespace SystemParts {

WrittenFiles& Written() { return Posix::TheDisks(); }

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
