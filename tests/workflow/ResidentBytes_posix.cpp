#include <unistd.h>

#include <fstream>

#include "tests/workflow/Workbench.h"

namespace orv_test {

std::size_t ResidentBytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace orv_test
