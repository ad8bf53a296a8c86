// Compiled for AVX2.
#include "encryption/LaneFiles.h"
#include "encryption/LaneKernel.h"
#include "encryption/LaneVector.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

struct Avx2;
#if defined(__x86_64__)
using Word = Twice<Vector<8, Avx2>>;
#else
using Word = Vector<8, Avx2>;  // There are eight registers.
#endif

ORV_LANE_ENTRY void Decipher(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  DecipherInLanes<Word>(key, blocks, count);
}

}  // namespace

const Lanes kAvx2Lanes = {"AVX2", Word::kLanes, Decipher};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
