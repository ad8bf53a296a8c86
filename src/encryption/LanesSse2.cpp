// Compiled for SSE2.
#include "encryption/LaneFiles.h"
#include "encryption/LaneKernel.h"
#include "encryption/LaneVector.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

struct Sse2;
#if defined(__x86_64__)
using Word = Twice<Vector<4, Sse2>>;
#else
using Word = Vector<4, Sse2>;  // There are eight registers.
#endif

ORV_LANE_ENTRY void Decipher(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  DecipherInLanes<Word>(key, blocks, count);
}

}  // namespace

const Lanes kSse2Lanes = {"SSE2", Word::kLanes, Decipher};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
