// MD5's compression (RFC 1321) on any kind of word: one number, or a vector of numbers that belong to different
// messages.
//
// Nothing here may be an inline function that other files share under the same name: files that include this are
// compiled for different processors. So all functions are templates over a word that belongs to its file.
#pragma once

#include <cstdint>

namespace OrvWorkFlow::Core::Encryption::Md5 {

inline constexpr unsigned kBlockSize = 64;
inline constexpr unsigned kDigestSize = 16;
inline constexpr unsigned kSteps = 64;

inline constexpr std::uint32_t kStart[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

// What each step adds: the binary digits of the sine of its number.
inline constexpr std::uint32_t kSines[kSteps] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

// Which word of the block each step adds.
inline constexpr std::uint8_t kWordOfStep[kSteps] = {0, 1, 2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,  //
                                                     1, 6, 11, 0,  5,  10, 15, 4,  9,  14, 3,  8,  13, 2,  7,  12,  //
                                                     5, 8, 11, 14, 1,  4,  7,  10, 13, 0,  3,  6,  9,  12, 15, 2,   //
                                                     0, 7, 14, 5,  12, 3,  10, 1,  8,  15, 6,  13, 4,  11, 2,  9};

// The sums of the four rounds: `sum` plus the round's function. They stand apart because a word may know a shorter way.
// The second is written so that only one operation waits for the newest value, b.
template <class Word>
[[gnu::always_inline]] inline Word AddRound1(Word sum, Word b, Word c, Word d) {
  return sum + (d ^ (b & (c ^ d)));
}
template <class Word>
[[gnu::always_inline]] inline Word AddRound2(Word sum, Word b, Word c, Word d) {
  return sum + AndNot(d, c) + (d & b);
}
template <class Word>
[[gnu::always_inline]] inline Word AddRound3(Word sum, Word b, Word c, Word d) {
  return sum + (b ^ (c ^ d));
}
template <class Word>
[[gnu::always_inline]] inline Word AddRound4(Word sum, Word b, Word c, Word d) {
  return sum + (c ^ (b | Not(d)));
}

// Steps `first` (at most 15) to 63. `addend(i)` is what step i adds: its sine plus its message word.
template <class Word, class Addend>
[[gnu::always_inline]] inline void Steps(Word (&words)[4], const Addend& addend, unsigned first) {
  Word a = words[0];
  Word b = words[1];
  Word c = words[2];
  Word d = words[3];
  switch (first) {
    case 0:
      a = b + Rotate<7>(AddRound1(a + addend(0), b, c, d));
      [[fallthrough]];
    case 1:
      d = a + Rotate<12>(AddRound1(d + addend(1), a, b, c));
      [[fallthrough]];
    case 2:
      c = d + Rotate<17>(AddRound1(c + addend(2), d, a, b));
      [[fallthrough]];
    case 3:
      b = c + Rotate<22>(AddRound1(b + addend(3), c, d, a));
      [[fallthrough]];
    case 4:
      a = b + Rotate<7>(AddRound1(a + addend(4), b, c, d));
      [[fallthrough]];
    case 5:
      d = a + Rotate<12>(AddRound1(d + addend(5), a, b, c));
      [[fallthrough]];
    case 6:
      c = d + Rotate<17>(AddRound1(c + addend(6), d, a, b));
      [[fallthrough]];
    case 7:
      b = c + Rotate<22>(AddRound1(b + addend(7), c, d, a));
      [[fallthrough]];
    case 8:
      a = b + Rotate<7>(AddRound1(a + addend(8), b, c, d));
      [[fallthrough]];
    case 9:
      d = a + Rotate<12>(AddRound1(d + addend(9), a, b, c));
      [[fallthrough]];
    case 10:
      c = d + Rotate<17>(AddRound1(c + addend(10), d, a, b));
      [[fallthrough]];
    case 11:
      b = c + Rotate<22>(AddRound1(b + addend(11), c, d, a));
      [[fallthrough]];
    case 12:
      a = b + Rotate<7>(AddRound1(a + addend(12), b, c, d));
      [[fallthrough]];
    case 13:
      d = a + Rotate<12>(AddRound1(d + addend(13), a, b, c));
      [[fallthrough]];
    case 14:
      c = d + Rotate<17>(AddRound1(c + addend(14), d, a, b));
      [[fallthrough]];
    case 15:
      b = c + Rotate<22>(AddRound1(b + addend(15), c, d, a));
      [[fallthrough]];
    default:
      break;
  }
#pragma GCC unroll 4
  for (unsigned i = 16; i < 32; i += 4) {
    a = b + Rotate<5>(AddRound2(a + addend(i), b, c, d));
    d = a + Rotate<9>(AddRound2(d + addend(i + 1), a, b, c));
    c = d + Rotate<14>(AddRound2(c + addend(i + 2), d, a, b));
    b = c + Rotate<20>(AddRound2(b + addend(i + 3), c, d, a));
  }
#pragma GCC unroll 4
  for (unsigned i = 32; i < 48; i += 4) {
    a = b + Rotate<4>(AddRound3(a + addend(i), b, c, d));
    d = a + Rotate<11>(AddRound3(d + addend(i + 1), a, b, c));
    c = d + Rotate<16>(AddRound3(c + addend(i + 2), d, a, b));
    b = c + Rotate<23>(AddRound3(b + addend(i + 3), c, d, a));
  }
#pragma GCC unroll 4
  for (unsigned i = 48; i < 64; i += 4) {
    a = b + Rotate<6>(AddRound4(a + addend(i), b, c, d));
    d = a + Rotate<10>(AddRound4(d + addend(i + 1), a, b, c));
    c = d + Rotate<15>(AddRound4(c + addend(i + 2), d, a, b));
    b = c + Rotate<21>(AddRound4(b + addend(i + 3), c, d, a));
  }
  words[0] = a;
  words[1] = b;
  words[2] = c;
  words[3] = d;
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
