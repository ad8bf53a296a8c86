#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/support/Ownership.h"

namespace orv_test {

namespace {

void Change(int result, const std::string& file) {
  if (result != 0) throw std::runtime_error(file + ": owner or mode cannot be changed");
}

}  // namespace

const char* const kStranger = "12345";

bool CanGiveAway() { return geteuid() == 0; }

void GiveAway(const std::string& file) { Change(lchown(file.c_str(), 12345, static_cast<gid_t>(-1)), file); }
void TakeBack(const std::string& file) { Change(lchown(file.c_str(), geteuid(), static_cast<gid_t>(-1)), file); }
void OpenToAll(const std::string& folder) { Change(chmod(folder.c_str(), 01777), folder); }
void OpenToOwner(const std::string& folder) { Change(chmod(folder.c_str(), 0755), folder); }

}  // namespace orv_test
