// How many descriptors this process has open.
#pragma once

namespace orv_test {

// Always 0 on Windows: threads and the runtime open and close handles there at any time, so that the count kept by
// FaultPlatform is the one that tells.
int OpenDescriptors();

}  // namespace orv_test
