// The function that libFuzzer calls. The build names the target.
#include <cstddef>
#include <cstdint>

#include "fuzz/Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // What a target throws ends the program, which keeps the input.
  OrvWorkFlow::Fuzz::ORVFLOW_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
  return 0;
}
