#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "host/state/MappedPage.h"

namespace OrvWorkFlow::Host {

struct MappedPage::System {};

namespace {

bool IsOwn(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1;
}

// Written, not only made longer: a page without room on the disk would end the process when it is touched. An empty
// file is not cut first: that would have it written to the disk when it is closed, and waited for when it goes
// (start_bench).
bool Fill(int file, const struct stat& status) {
  if (status.st_size == static_cast<off_t>(MappedPage::kSize)) return true;
  static constexpr std::array<char, MappedPage::kSize> kZeros = {};
  return (status.st_size == 0 || ftruncate(file, 0) == 0) &&
         pwrite(file, kZeros.data(), kZeros.size(), 0) == static_cast<ssize_t>(kZeros.size());
}

}  // namespace

MappedPage::MappedPage(const std::string& path) : path_(path) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  int file = open(path.c_str(), kFlags | O_EXCL, 0600);
  const bool is_new = file >= 0;
  if (!is_new) file = open(path.c_str(), kFlags, 0600);
  if (file < 0) return;
  struct stat status = {};
  if (fstat(file, &status) == 0 && IsOwn(status) && Fill(file, status)) {
    void* const address = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (address != MAP_FAILED) data_ = address;
  }
  close(file);
  if (data_ == nullptr && is_new) unlink(path.c_str());
}

MappedPage::~MappedPage() {
  if (data_ != nullptr) munmap(data_, kSize);
}

void MappedPage::Remove() {
  if (data_ == nullptr || unlink(path_.c_str()) == 0) return;
  unlink(path_.c_str());  // Once more: a failing disk may have recovered.
}

}  // namespace OrvWorkFlow::Host
