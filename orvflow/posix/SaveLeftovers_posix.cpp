#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvflow/files/SaveLeftovers.h"

namespace OrvWorkFlow::Program {

// A save holds its file locked while it writes.
void RemoveSaveLeftover(const std::string& file) {
  const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (opened < 0) return;
  struct stat status = {};
  const bool is_own =
      fstat(opened, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1;
  if (is_own && flock(opened, LOCK_EX | LOCK_NB) == 0) unlink(file.c_str());
  close(opened);
}

}  // namespace OrvWorkFlow::Program
