// The characters a program is made of and how text is searched for them. Narrow characters count as unsigned bytes.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace OrvWorkFlow::Core::Patterns {

using NarrowUnit = unsigned char;
using WideUnit = char16_t;

template <class Char>
using UnitOf = std::conditional_t<sizeof(Char) == 1, NarrowUnit, WideUnit>;

inline const NarrowUnit* AsUnits(const char* text) { return reinterpret_cast<const NarrowUnit*>(text); }
inline const WideUnit* AsUnits(const char16_t* text) { return text; }

inline std::size_t LengthOf(const NarrowUnit* text) { return std::strlen(reinterpret_cast<const char*>(text)); }
inline std::size_t LengthOf(const WideUnit* text) { return std::char_traits<char16_t>::length(text); }

inline bool SameUnits(const NarrowUnit* a, const NarrowUnit* b, std::size_t count) {
  return std::memcmp(a, b, count) == 0;
}
inline bool SameUnits(const WideUnit* a, const WideUnit* b, std::size_t count) {
  return std::memcmp(a, b, count * sizeof(WideUnit)) == 0;
}

// The first `unit` in [from, end), or null.
inline const NarrowUnit* FindUnit(const NarrowUnit* from, const NarrowUnit* end, NarrowUnit unit) {
  if (from == end) return nullptr;
  return static_cast<const NarrowUnit*>(std::memchr(from, unit, static_cast<std::size_t>(end - from)));
}
inline const WideUnit* FindUnit(const WideUnit* from, const WideUnit* end, WideUnit unit) {
  for (; from != end; ++from) {
    if (*from == unit) return from;
  }
  return nullptr;
}

// The first place in [from, end) where the `length` >= 1 units at `literal` stand, or null.
template <class Unit>
const Unit* FindLiteral(const Unit* from, const Unit* end, const Unit* literal, std::size_t length) {
  if (static_cast<std::size_t>(end - from) < length) return nullptr;
  const Unit* const last = end - (length - 1);
  while ((from = FindUnit(from, last, *literal)) != nullptr) {
    if (SameUnits(from + 1, literal + 1, length - 1)) return from;
    ++from;
  }
  return nullptr;
}

}  // namespace OrvWorkFlow::Core::Patterns
