// Looks for bytes sixteen at a time where the processor can, one at a time where it cannot.
//
// What is looked for is a set: a class with the test of one byte and, beside it, of sixteen at once. The steps of a
// scan never read outside of the text.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "dictionary/xml/Bytes.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace OrvWorkFlow::Core::Dictionary {

// Sets of bytes. `Has` is what counts; `HasEach` sets the top bit of each byte that `Has`.
#if defined(__SSE2__)
using SixteenBytes = __m128i;
inline SixteenBytes LoadSixteen(const char* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
inline SixteenBytes EqualTo(SixteenBytes bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }
// Bytes count from 0 to 255 here.
inline SixteenBytes Between(SixteenBytes bytes, char low, char high) {
  const __m128i above = _mm_sub_epi8(bytes, _mm_set1_epi8(low));
  return _mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8(static_cast<char>(high - low))), above);
}
inline SixteenBytes Either(SixteenBytes one, SixteenBytes other) { return _mm_or_si128(one, other); }
template <class Set>
std::uint32_t MaskOf(SixteenBytes bytes) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(Set::HasEach(bytes)));
}
#endif

template <char kByte>
struct OneByte {
  static bool Has(char c) { return c == kByte; }
#if defined(__SSE2__)
  static SixteenBytes HasEach(SixteenBytes bytes) { return EqualTo(bytes, kByte); }
#endif
};

template <class One, class Other>
struct EitherSet {
  static bool Has(char c) { return One::Has(c) || Other::Has(c); }
#if defined(__SSE2__)
  static SixteenBytes HasEach(SixteenBytes bytes) { return Either(One::HasEach(bytes), Other::HasEach(bytes)); }
#endif
};

template <class Set>
struct AllBut {
  static bool Has(char c) { return !Set::Has(c); }
#if defined(__SSE2__)
  static SixteenBytes HasEach(SixteenBytes bytes) {
    return _mm_andnot_si128(Set::HasEach(bytes), _mm_set1_epi8(static_cast<char>(0xFF)));
  }
#endif
};

struct Blanks {
  static bool Has(char c) { return IsBlank(c); }
#if defined(__SSE2__)
  static SixteenBytes HasEach(SixteenBytes bytes) { return Either(EqualTo(bytes, ' '), Between(bytes, '\t', '\r')); }
#endif
};

// The bytes that do not stand in a file as they are: "&", "<", ">", and control bytes but zero and the blanks of lines.
struct EscapedBytes {
  static bool Has(char c) {
    const bool is_control = c > 0 && c < ' ' && c != '\t' && c != '\n' && c != '\r';
    return is_control || c == '&' || c == '<' || c == '>';
  }
#if defined(__SSE2__)
  static SixteenBytes HasEach(SixteenBytes bytes) {
    const SixteenBytes controls = Either(Between(bytes, '\x01', '\x08'), Between(bytes, '\x0E', '\x1F'));
    const SixteenBytes feeds = Between(bytes, '\x0B', '\x0C');
    const SixteenBytes brackets = EqualTo(_mm_or_si128(bytes, _mm_set1_epi8('<' ^ '>')), '>');
    return Either(Either(controls, feeds), Either(brackets, EqualTo(bytes, '&')));
  }
#endif
};

// The bytes of valid paths.
struct PathBytes {
  static bool Has(char c) { return IsLetter(c) || IsDigit(c) || c == '/' || c == '_' || c == '-'; }
#if defined(__SSE2__)
  static SixteenBytes HasEach(SixteenBytes bytes) {
    const SixteenBytes letters = Between(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), 'a', 'z');
    const SixteenBytes signs = Either(EqualTo(bytes, '-'), EqualTo(bytes, '_'));
    return Either(letters, Either(signs, Between(bytes, '/', '9')));
  }
#endif
};

// The first byte of the set; `end` when there is none.
template <class Set>
const char* FindOneByOne(const char* at, const char* end) {
  while (at != end && !Set::Has(*at)) ++at;
  return at;
}

// The same. `begin` is where the bytes before `at` begin that may be read, too.
template <class Set>
const char* FindFirst([[maybe_unused]] const char* begin, const char* at, const char* end) {
#if defined(__SSE2__)
  for (; end - at >= 16; at += 16) {
    const std::uint32_t found = MaskOf<Set>(LoadSixteen(at));
    if (found != 0) return at + std::countr_zero(found);
  }
  if (at == end) return end;
  if (end - begin >= 16) {  // The last sixteen; those before `at` do not count.
    const std::uint32_t found = MaskOf<Set>(LoadSixteen(end - 16)) >> (16 - (end - at));
    return found == 0 ? end : at + std::countr_zero(found);
  }
#endif
  return FindOneByOne<Set>(at, end);
}

template <class Set>
const char* FindFirst(const char* at, const char* end) {
  return FindFirst<Set>(at, at, end);
}

}  // namespace OrvWorkFlow::Core::Dictionary
