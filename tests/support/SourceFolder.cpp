#include "tests/support/SourceFolder.h"

namespace orv_test {

std::filesystem::path SourceFolder() { return ORVFLOW_SOURCE_DIR; }

}  // namespace orv_test
