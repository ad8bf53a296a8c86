#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#define PSAPI_VERSION 2
#include <windows.h>
// Needs the types of the one above.
#include <psapi.h>

#include "tests/workflow/Workbench.h"

namespace orv_test {

std::size_t ResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters = {};
  if (!K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
  return counters.WorkingSetSize;
}

}  // namespace orv_test
