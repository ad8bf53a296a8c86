// Loads the shared library `CoreObjects` from the folder of the test program.
#pragma once

namespace orv_test {

// Null when it cannot be loaded; the reason is printed.
void* LoadCoreObjects();
// True when it is unloaded.
bool UnloadCoreObjects(void* library);

}  // namespace orv_test
