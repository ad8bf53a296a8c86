// Enciphering, compiled for AVX-512: each block waits for the one before, so what counts is how long a step takes. Any
// function of three bits is one instruction there, and so is a rotation: a step takes four instructions one after the
// other, where others take five in every second round. One lane is used.
#include <immintrin.h>

#include "encryption/LaneFiles.h"
#include "encryption/LaneKernel.h"
#include "encryption/LaneVector.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

struct Avx512OneLane;
using Word = Vector<4, Avx512OneLane>;

// The table has a bit for each value of b, c and d; b counts 4.
template <int kTable>
[[gnu::always_inline]] inline Word Choose(Word b, Word c, Word d) {
  return {reinterpret_cast<Word::Native>(_mm_ternarylogic_epi32(reinterpret_cast<__m128i>(b.value),
                                                                reinterpret_cast<__m128i>(c.value),
                                                                reinterpret_cast<__m128i>(d.value), kTable))};
}
[[gnu::always_inline]] inline Word AddRound1(Word sum, Word b, Word c, Word d) { return sum + Choose<0xCA>(b, c, d); }
[[gnu::always_inline]] inline Word AddRound2(Word sum, Word b, Word c, Word d) { return sum + Choose<0xE4>(b, c, d); }
[[gnu::always_inline]] inline Word AddRound3(Word sum, Word b, Word c, Word d) { return sum + Choose<0x96>(b, c, d); }
[[gnu::always_inline]] inline Word AddRound4(Word sum, Word b, Word c, Word d) { return sum + Choose<0x39>(b, c, d); }

[[gnu::always_inline]] inline Word Load(const unsigned char* bytes) {
  return {reinterpret_cast<Word::Native>(_mm_loadu_si32(bytes))};
}

ORV_LANE_ENTRY void Encipher(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  LaneDigester<Word> digester(key);
  Word words[4];
  for (unsigned i = 0; i < 4; ++i) words[i] = Load(blocks - kDigestSize + 4 * i);
  for (; count > 0; --count, blocks += kDigestSize) {
    digester.Digest(words);
    for (unsigned i = 0; i < 4; ++i) {
      words[i] = words[i] ^ Load(blocks + 4 * i);
      _mm_storeu_si32(blocks + 4 * i, reinterpret_cast<__m128i>(words[i].value));
    }
  }
}

}  // namespace

const Chain kAvx512Chain = {"AVX-512", Encipher};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
