#include "encryption/Lanes.h"

#include <array>

#include "encryption/LaneFiles.h"
#include "encryption/Processor.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

// At most four of them.
template <class Way>
struct Supported {
  std::array<Way, 4> ways{};
  std::size_t count = 0;

  void AddIf(bool supported, const Way& added) {
    if (supported) ways[count++] = added;
  }
};

Supported<Lanes> FindLanes() {
  Supported<Lanes> result;
#if defined(__x86_64__) || defined(__i386__)
  const Processor processor = AskProcessor();
  result.AddIf(processor.avx512f, kAvx512Lanes);
  result.AddIf(processor.avx2, kAvx2Lanes);
  result.AddIf(processor.sse2, kSse2Lanes);
#endif
  result.AddIf(true, kPortableLanes);
  return result;
}

Supported<Chain> FindChains() {
  Supported<Chain> result;
#if defined(__x86_64__) || defined(__i386__)
  result.AddIf(AskProcessor().avx512vl, kAvx512Chain);
#endif
  result.AddIf(true, kSerialChain);
  return result;
}

}  // namespace

LanesList SupportedLanes() {
  static const Supported<Lanes> supported = FindLanes();
  return {supported.ways.data(), supported.ways.data() + supported.count};
}

ChainsList SupportedChains() {
  static const Supported<Chain> supported = FindChains();
  return {supported.ways.data(), supported.ways.data() + supported.count};
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
