#include "tests/filesystem/OpenDescriptors.h"

namespace orv_test {

int OpenDescriptors() { return 0; }

}  // namespace orv_test
