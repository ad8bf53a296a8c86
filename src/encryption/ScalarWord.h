// One number as a word of the compression: the serial and the portable way.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "encryption/Md5.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {

static_assert(std::endian::native == std::endian::little, "digests are words as they are in memory");

struct ScalarWord {
  static constexpr unsigned kLanes = 1;
  std::uint32_t value;

  static ScalarWord Broadcast(std::uint32_t number) { return {number}; }
  static void LoadBlocks(const unsigned char* blocks, ScalarWord (&words)[4]) { std::memcpy(words, blocks, 16); }
  static void XorIntoBlocks(const ScalarWord (&words)[4], unsigned char* blocks) {
    ScalarWord text[4];
    std::memcpy(text, blocks, 16);
    for (unsigned i = 0; i < 4; ++i) text[i].value ^= words[i].value;
    std::memcpy(blocks, text, 16);
  }
};

inline ScalarWord operator+(ScalarWord a, ScalarWord b) { return {a.value + b.value}; }
inline ScalarWord operator^(ScalarWord a, ScalarWord b) { return {a.value ^ b.value}; }
inline ScalarWord operator&(ScalarWord a, ScalarWord b) { return {a.value & b.value}; }
inline ScalarWord operator|(ScalarWord a, ScalarWord b) { return {a.value | b.value}; }
inline ScalarWord Not(ScalarWord a) { return {~a.value}; }
// Not the first, and the second.
inline ScalarWord AndNot(ScalarWord a, ScalarWord b) { return {~a.value & b.value}; }
template <int kBits>
ScalarWord Rotate(ScalarWord a) {
  return {std::rotl(a.value, kBits)};
}
// By 0 to 31 bits to the left; the other by 1 to 32 to the right.
inline ScalarWord ShiftLeft(ScalarWord a, unsigned bits) { return {a.value << bits}; }
inline ScalarWord ShiftRight(ScalarWord a, unsigned bits) { return {bits == 32 ? 0 : a.value >> bits}; }

// What each step adds, out of a block's words.
struct BlockAddend {
  const std::uint32_t* words;
  ScalarWord operator()(unsigned step) const { return {kSines[step] + words[kWordOfStep[step]]}; }
};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
