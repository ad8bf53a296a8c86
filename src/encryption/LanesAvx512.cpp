// Compiled for AVX-512.
#include <immintrin.h>

#include "encryption/LaneFiles.h"
#include "encryption/LaneKernel.h"
#include "encryption/LaneVector.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

struct Avx512;
using Half = Vector<16, Avx512>;

// Any function of three bits is one instruction. Its table has a bit for each value of b, c and d; b counts 4.
template <int kTable>
[[gnu::always_inline]] inline Half Choose(Half b, Half c, Half d) {
  return {reinterpret_cast<Half::Native>(_mm512_ternarylogic_epi32(reinterpret_cast<__m512i>(b.value),
                                                                   reinterpret_cast<__m512i>(c.value),
                                                                   reinterpret_cast<__m512i>(d.value), kTable))};
}
[[gnu::always_inline]] inline Half AddRound1(Half sum, Half b, Half c, Half d) { return sum + Choose<0xCA>(b, c, d); }
[[gnu::always_inline]] inline Half AddRound2(Half sum, Half b, Half c, Half d) { return sum + Choose<0xE4>(b, c, d); }
[[gnu::always_inline]] inline Half AddRound3(Half sum, Half b, Half c, Half d) { return sum + Choose<0x96>(b, c, d); }
[[gnu::always_inline]] inline Half AddRound4(Half sum, Half b, Half c, Half d) { return sum + Choose<0x39>(b, c, d); }

#if defined(__x86_64__)
using Word = Twice<Half>;
#else
using Word = Half;  // There are eight registers.
#endif

ORV_LANE_ENTRY void Decipher(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  DecipherInLanes<Word>(key, blocks, count);
}

}  // namespace

const Lanes kAvx512Lanes = {"AVX-512", Word::kLanes, Decipher};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
