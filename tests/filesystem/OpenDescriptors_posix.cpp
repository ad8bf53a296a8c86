#include <filesystem>

#include "tests/filesystem/OpenDescriptors.h"

namespace orv_test {

int OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<int>(std::distance(begin(descriptors), end(descriptors)));
}

}  // namespace orv_test
