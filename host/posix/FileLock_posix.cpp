#include "host/state/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <optional>
#include <system_error>

namespace OrvWorkFlow::Host {

namespace {

// The files of the locks that this process has. A process has few; one too many stays where it ends without order.
std::array<std::atomic<const char*>, 8> held_files;

void Remember(const char* file) noexcept {
  for (std::atomic<const char*>& held : held_files) {
    const char* none = nullptr;
    if (held.compare_exchange_strong(none, file)) return;
  }
}

void Forget(const char* file) noexcept {
  for (std::atomic<const char*>& held : held_files) {
    const char* remembered = file;
    if (held.compare_exchange_strong(remembered, nullptr)) return;
  }
}

}  // namespace

struct FileLock::System {
  explicit System(const std::string& name) : path(name) {}
  ~System() { Close(); }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  void Close() {
    if (file >= 0) close(file);
    file = -1;
  }
  // Makes the file, or opens the one that is there. False with the system's error.
  bool Open() {
    constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    file = open(path.c_str(), kFlags | O_EXCL, 0600);
    is_new = file >= 0;
    if (!is_new) file = open(path.c_str(), kFlags, 0600);
    return file >= 0;
  }
  // False with the system's error. Tries a second time: a failing disk may have recovered.
  bool Lock() const {
    for (int attempt = 0; attempt < 2; ++attempt) {
      int result = 0;
      do {
        result = flock(file, LOCK_EX | LOCK_NB);
      } while (result != 0 && errno == EINTR);
      if (result == 0 || errno == EWOULDBLOCK) return result == 0;
    }
    return false;
  }
  // False when the file that was opened is not the one of that name any more: its owner has removed it meanwhile.
  // Nothing when the system cannot tell.
  std::optional<bool> IsCurrent() const {
    const std::optional<bool> first = Look();
    return first ? first : Look();  // As with Lock.
  }
  std::optional<bool> Look() const {
    struct stat opened = {};
    struct stat named = {};
    if (fstat(file, &opened) != 0) return std::nullopt;
    if (stat(path.c_str(), &named) == 0) return opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
    if (errno != ENOENT) return std::nullopt;
    return false;
  }
  std::string Read() const {
    char text[32];
    const ssize_t length = pread(file, text, sizeof text, 0);
    std::string owner(text, length > 0 ? static_cast<std::size_t>(length) : 0);
    return owner.find_first_not_of("0123456789") == std::string::npos ? owner : std::string();
  }
  // Nothing is cut off an empty file: file systems write one that was cut to the disk when it is closed, and whoever
  // removes it waits for that (start_bench).
  bool Write(const std::string& text) const {
    struct stat opened = {};
    const bool is_empty = fstat(file, &opened) == 0 && opened.st_size == 0;
    return (is_empty || ftruncate(file, 0) == 0) &&
           pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  }

  std::string path;
  int file = -1;
  bool is_new = false;
};

FileLock::FileLock(const std::string& file) : system_(std::make_unique<System>(file)) {
  for (;;) {
    if (!system_->Open()) {
      Fail();
      return;
    }
    if (!system_->Lock()) {
      if (errno == EWOULDBLOCK) {
        outcome_ = Outcome::InUse;
        owner_ = system_->Read();
      } else {
        Fail();
        if (system_->is_new) unlink(file.c_str());  // Where nothing can be locked it is of use to nobody.
      }
      return;
    }
    const std::optional<bool> is_current = system_->IsCurrent();
    if (!is_current) {
      Fail();
      return;
    }
    if (*is_current) break;
    system_->Close();
  }
  if (system_->Write(std::to_string(getpid()))) {
    outcome_ = Outcome::Held;
    Remember(system_->path.c_str());
  } else {
    Fail();
    unlink(file.c_str());  // Locked by this process, and of use to nobody.
  }
}

void FileLock::Fail() { reason_ = std::generic_category().message(errno); }

std::string FileLock::ReadOwner(const std::string& file) {
  System system(file);
  system.file = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  return system.file < 0 ? std::string() : system.Read();
}

void FileLock::RemoveFilesAtExit() noexcept {
  for (std::atomic<const char*>& held : held_files) {
    if (const char* const file = held.exchange(nullptr)) unlink(file);
  }
}

FileLock::~FileLock() {
  if (outcome_ == Outcome::Held) Forget(system_->path.c_str());
  if (outcome_ != Outcome::Held || unlink(system_->path.c_str()) == 0) return;
  unlink(system_->path.c_str());  // Once more: a failing disk may have recovered.
}

}  // namespace OrvWorkFlow::Host
