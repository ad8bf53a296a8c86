#include "encryption/Lanes.h"

#include <array>

#include "encryption/LaneFiles.h"

namespace OrvWorkFlow::Md5 {
namespace {

struct Supported {
  std::array<Lanes, 4> lanes{};
  std::size_t count = 0;

  void AddIf(bool supported, const Lanes& added) {
    if (supported) lanes[count++] = added;
  }
};

// The processor's word counts only where the operating system saves its wide registers, which these look at too.
Supported FindSupported() {
  Supported result;
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  result.AddIf(__builtin_cpu_supports("avx512f"), kAvx512Lanes);
  result.AddIf(__builtin_cpu_supports("avx2"), kAvx2Lanes);
  result.AddIf(__builtin_cpu_supports("sse2"), kSse2Lanes);
#endif
  result.AddIf(true, kPortableLanes);
  return result;
}

}  // namespace

LanesList SupportedLanes() {
  static const Supported supported = FindSupported();
  return {supported.lanes.data(), supported.lanes.data() + supported.count};
}

}  // namespace OrvWorkFlow::Md5
