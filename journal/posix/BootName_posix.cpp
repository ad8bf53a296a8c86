#include <fstream>

#include "journal/BootName.h"

namespace OrvWorkFlow::Journal {

std::string NameOfBoot() {
  std::string name;
  std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), name);
  return name;
}

bool AreOtherBoots(const std::string& one, const std::string& other) {
  return !one.empty() && !other.empty() && one != other;
}

}  // namespace OrvWorkFlow::Journal
