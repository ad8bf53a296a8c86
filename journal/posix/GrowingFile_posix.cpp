#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

#include "journal/GrowingFile.h"

namespace OrvWorkFlow::Journal {

struct GrowingFile::System {
  ~System() {
    if (file >= 0) close(file);
  }

  int file = -1;
  void* window = nullptr;
  std::size_t window_size = 0;
  std::atomic<std::uint64_t> reserved = 0;  // the file's bytes that the disk has
  std::atomic<std::uint64_t> kept = 0;      // and with these also those for the next Map
};

namespace {

std::string ReasonFor(int error) { return std::generic_category().message(error); }

// Reserved, not only made longer: a page without room on the disk would end the process when it is touched.
int Reserve(int file, std::uint64_t offset, std::size_t size) {
  int error;
  do {
    error = posix_fallocate(file, static_cast<off_t>(offset), static_cast<off_t>(size));
  } while (error == EINTR);
  return error;
}

}  // namespace

GrowingFile::GrowingFile(const std::string& path) : path_(path), system_(std::make_unique<System>()) {
  system_->file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
  if (system_->file < 0) {
    reason_ = ReasonFor(errno);
    return;
  }
  struct stat status = {};
  if (fstat(system_->file, &status) != 0 || !S_ISREG(status.st_mode)) {
    reason_ = "not a plain file";
  } else if (flock(system_->file, LOCK_EX | LOCK_NB) == 0) {
    outcome_ = Outcome::Open;
  } else if (errno == EWOULDBLOCK) {
    outcome_ = Outcome::InUse;
  } else {
    reason_ = ReasonFor(errno);
  }
}

GrowingFile::~GrowingFile() { Unmap(); }

bool GrowingFile::GetSize(std::uint64_t* size) {
  struct stat status = {};
  if (fstat(system_->file, &status) != 0) {
    reason_ = ReasonFor(errno);
    return false;
  }
  *size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

bool GrowingFile::CutAt(std::uint64_t size) {
  system_->kept = 0;
  if (ftruncate(system_->file, static_cast<off_t>(size)) == 0) return true;
  reason_ = ReasonFor(errno);
  return false;
}

unsigned char* GrowingFile::Map(std::uint64_t offset, std::size_t* room) {
  Unmap();
  const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  const std::uint64_t begin = offset / page * page;
  const std::size_t size = WindowAt(offset);
  const int error = Reserve(system_->file, begin, size);
  if (error != 0) {
    reason_ = ReasonFor(error);
    return nullptr;
  }
  void* const window =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, system_->file, static_cast<off_t>(begin));
  if (window == MAP_FAILED) {
    reason_ = ReasonFor(errno);
    return nullptr;
  }
  system_->window = window;
  system_->window_size = size;
  system_->reserved = begin + size;
  *room = size - static_cast<std::size_t>(offset - begin);
  return static_cast<unsigned char*>(window) + (offset - begin);
}

void GrowingFile::Unmap() {
  if (system_->window != nullptr) munmap(system_->window, system_->window_size);
  system_->window = nullptr;
}

// Pages that were written as memory are the file's: the system knows of them.
bool GrowingFile::Sync(std::string* reason) {
  int result;
  do {
    result = fdatasync(system_->file);
  } while (result != 0 && errno == EINTR);
  if (result != 0) *reason = ReasonFor(errno);
  return result == 0;
}

// The file is made longer, by what is cut off at its end. The system's own call: where that cannot reserve, what stands
// in for it writes, and would meet what is being recorded.
bool GrowingFile::KeepRoom(std::uint64_t size) {
  const std::uint64_t reserved = system_->reserved;
  if (system_->kept == reserved + size) return true;
  const auto begin = static_cast<off_t>(reserved);
  int result;
  do {
    result = fallocate(system_->file, 0, begin, static_cast<off_t>(size));
  } while (result != 0 && errno == EINTR);
  if (result != 0) return errno != ENOSPC;
  system_->kept = reserved + size;
  return true;
}

// Not cut before: what is written to a file that goes is not worth it.
void GrowingFile::Remove() {
  Unmap();
  outcome_ = Outcome::Refused;
  if (unlink(path_.c_str()) != 0) unlink(path_.c_str());  // Once more: a failing disk may have recovered.
  system_ = std::make_unique<System>();
}

bool IsGrowing(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return false;
  const bool is_locked = flock(file, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  close(file);
  return is_locked;
}

}  // namespace OrvWorkFlow::Journal
