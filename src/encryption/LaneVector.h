// A vector of numbers as a word of the compression, each lane for another block.
//
// Included by files that are compiled for different processors: see Md5.h. `File` is a type of that file's own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace OrvWorkFlow::Core::Encryption::Md5 {

template <unsigned kCount, class File>
struct Vector {
  using Native [[gnu::vector_size(kCount * 4)]] = std::uint32_t;
  static constexpr unsigned kLanes = kCount;
  Native value;

  [[gnu::always_inline]] static Vector Broadcast(std::uint32_t number) { return {number - Native{}}; }

  // Word i of every block to words[i]. The blocks' order in the lanes is that of the cheapest way: within every 128
  // bits four rows become columns. XorIntoBlocks undoes it.
  [[gnu::always_inline]] static void LoadBlocks(const unsigned char* blocks, Vector (&words)[4]) {
    for (unsigned i = 0; i < 4; ++i) std::memcpy(&words[i].value, blocks + i * sizeof(Native), sizeof(Native));
    Transpose(words);
  }
  [[gnu::always_inline]] static void XorIntoBlocks(const Vector (&words)[4], unsigned char* blocks) {
    Vector rows[4] = {words[0], words[1], words[2], words[3]};
    Transpose(rows);
    for (unsigned i = 0; i < 4; ++i) {
      Native text;
      std::memcpy(&text, blocks + i * sizeof text, sizeof text);
      text ^= rows[i].value;
      std::memcpy(blocks + i * sizeof text, &text, sizeof text);
    }
  }

 private:
  [[gnu::always_inline]] static void Transpose(Vector (&rows)[4]) {
    const Native low01 = Interleave<1, 0>(rows[0].value, rows[1].value, kAllLanes);
    const Native high01 = Interleave<1, 2>(rows[0].value, rows[1].value, kAllLanes);
    const Native low23 = Interleave<1, 0>(rows[2].value, rows[3].value, kAllLanes);
    const Native high23 = Interleave<1, 2>(rows[2].value, rows[3].value, kAllLanes);
    rows[0].value = Interleave<2, 0>(low01, low23, kAllLanes);
    rows[1].value = Interleave<2, 2>(low01, low23, kAllLanes);
    rows[2].value = Interleave<2, 0>(high01, high23, kAllLanes);
    rows[3].value = Interleave<2, 2>(high01, high23, kAllLanes);
  }

  static constexpr std::make_index_sequence<kCount> kAllLanes{};

  // In every 128 bits: `kUnit` numbers of a from number `kStart` on, as many of b, and again.
  template <std::size_t kUnit, std::size_t kStart, std::size_t... kLane>
  [[gnu::always_inline]] static Native Interleave(Native a, Native b, std::index_sequence<kLane...>) {
    return __builtin_shufflevector(a, b, Source(kUnit, kStart, kLane)...);
  }
  static constexpr int Source(std::size_t unit, std::size_t start, std::size_t lane) {
    const std::size_t place = lane % 4;
    const std::size_t number = start + place / (2 * unit) * unit + place % unit;
    return static_cast<int>((place / unit % 2) * kCount + lane - place + number);
  }
};

template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> operator+(Vector<kCount, File> a, Vector<kCount, File> b) {
  return {a.value + b.value};
}
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> operator^(Vector<kCount, File> a, Vector<kCount, File> b) {
  return {a.value ^ b.value};
}
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> operator&(Vector<kCount, File> a, Vector<kCount, File> b) {
  return {a.value & b.value};
}
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> operator|(Vector<kCount, File> a, Vector<kCount, File> b) {
  return {a.value | b.value};
}
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> AndNot(Vector<kCount, File> a, Vector<kCount, File> b) {
  return {~a.value & b.value};
}
template <int kBits, unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> Rotate(Vector<kCount, File> a) {
  return {(a.value << kBits) | (a.value >> (32 - kBits))};
}
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> ShiftLeft(Vector<kCount, File> a, unsigned bits) {
  return {a.value << bits};
}
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> ShiftRight(Vector<kCount, File> a, unsigned bits) {
  return {bits == 32 ? a.value ^ a.value : a.value >> bits};
}

// ~(c ^ (~b & d)) is c ^ (b | ~d): one operation less where "and not" is one, for -1 - x is ~x.
template <unsigned kCount, class File>
[[gnu::always_inline]] inline Vector<kCount, File> AddRound4(Vector<kCount, File> sum, Vector<kCount, File> b,
                                                             Vector<kCount, File> c, Vector<kCount, File> d) {
  return {sum.value - (c.value ^ (~b.value & d.value)) - 1};
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
