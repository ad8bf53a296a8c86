// Deciphering many blocks side by side: what a block is combined with depends on the cipher block before it alone, so
// every lane of a vector word computes the digest for another block.
//
// Included by files that are compiled for different processors: see Md5.h.
#pragma once

#include <cstddef>
#include <cstring>

#include "base/secret/Secret.h"
#include "encryption/BlockFunction.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {

// The steps in which each word of a block is added, one a round.
struct StepsOfWords {
  std::uint8_t steps[16][4];
};
inline constexpr StepsOfWords kStepsOfWords = [] {
  StepsOfWords result{};
  for (unsigned step = 0; step < kSteps; ++step) {
    result.steps[kWordOfStep[step]][step / 16] = static_cast<std::uint8_t>(step);
  }
  return result;
}();

// The digests of kLanes blocks at a time. Holds the key.
template <class Word>
class LaneDigester {
 public:
  explicit LaneDigester(const PreparedKey& key) : key_(key) {
    for (unsigned block = 0; block <= static_cast<unsigned>(key.has_two_blocks); ++block) {
      for (unsigned step = 0; step < kSteps; ++step) addends_[block][step] = Word::Broadcast(Constant(block, step));
    }
  }
  LaneDigester(const LaneDigester&) = delete;
  LaneDigester& operator=(const LaneDigester&) = delete;
  ~LaneDigester() { Base::Wipe(addends_, sizeof addends_); }

  // From the words of the blocks to the words of their digests.
  [[gnu::always_inline]] void Digest(Word (&x)[4]) {
    Place(x);
    Word state[4];
    for (unsigned i = 0; i < 4; ++i) state[i] = Word::Broadcast(key_.entry[i]);
    Steps(state, Addend{addends_[0]}, key_.first_word);
    for (unsigned i = 0; i < 4; ++i) x[i] = state[i] + Word::Broadcast(key_.prefix[i]);
    if (!key_.has_two_blocks) return;
    for (unsigned i = 0; i < 4; ++i) state[i] = x[i];
    Steps(state, Addend{addends_[1]}, 0);
    for (unsigned i = 0; i < 4; ++i) x[i] = x[i] + state[i];
  }

 private:
  struct Addend {
    const Word* addends;
    [[gnu::always_inline]] const Word& operator()(unsigned step) const { return addends[step]; }
  };

  std::uint32_t Constant(unsigned block, unsigned step) const {
    return kSines[step] + key_.message[16 * block + kWordOfStep[step]];
  }

  [[gnu::always_inline]] void Place(const Word (&x)[4]) {
    Word parts[5];
    PlaceInMessage(key_, x, parts);
    for (unsigned i = 0; i < 5; ++i) {
      const unsigned word = key_.first_word + i;
      const unsigned block = word / 16;
      if (block == 1 && !key_.has_two_blocks) break;
      for (const std::uint8_t step : kStepsOfWords.steps[word % 16]) {
        addends_[block][step] = Word::Broadcast(Constant(block, step)) + parts[i];
      }
    }
  }

  const PreparedKey& key_;
  Word addends_[2][kSteps];
};

// Deciphers `count` blocks in place, from the last to the first, because each needs the cipher block before it. One
// more block stands before `blocks`.
template <class Word>
[[gnu::always_inline]] inline void DecipherInLanes(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  LaneDigester<Word> digester(key);
  Word words[4];
  while (count >= Word::kLanes) {
    count -= Word::kLanes;
    unsigned char* const text = blocks + count * kDigestSize;
    Word::LoadBlocks(text - kDigestSize, words);
    digester.Digest(words);
    Word::XorIntoBlocks(words, text);
  }
  if (count == 0) return;
  unsigned char before[Word::kLanes * kDigestSize] = {};
  unsigned char text[Word::kLanes * kDigestSize] = {};
  std::memcpy(before, blocks - kDigestSize, count * kDigestSize);
  std::memcpy(text, blocks, count * kDigestSize);
  Word::LoadBlocks(before, words);
  digester.Digest(words);
  Word::XorIntoBlocks(words, text);
  std::memcpy(blocks, text, count * kDigestSize);
  Base::Wipe(text, sizeof text);
}

// Two words as one: the steps of one fill the waits of the other.
template <class Half>
struct Twice {
  static constexpr unsigned kLanes = 2 * Half::kLanes;
  Half a;
  Half b;

  [[gnu::always_inline]] static Twice Broadcast(std::uint32_t number) {
    return {Half::Broadcast(number), Half::Broadcast(number)};
  }
  [[gnu::always_inline]] static void LoadBlocks(const unsigned char* blocks, Twice (&words)[4]) {
    Half halves[2][4];
    Half::LoadBlocks(blocks, halves[0]);
    Half::LoadBlocks(blocks + Half::kLanes * kDigestSize, halves[1]);
    for (unsigned i = 0; i < 4; ++i) words[i] = {halves[0][i], halves[1][i]};
  }
  [[gnu::always_inline]] static void XorIntoBlocks(const Twice (&words)[4], unsigned char* blocks) {
    Half halves[2][4];
    for (unsigned i = 0; i < 4; ++i) {
      halves[0][i] = words[i].a;
      halves[1][i] = words[i].b;
    }
    Half::XorIntoBlocks(halves[0], blocks);
    Half::XorIntoBlocks(halves[1], blocks + Half::kLanes * kDigestSize);
  }
};

template <class Half>
[[gnu::always_inline]] inline Twice<Half> operator+(const Twice<Half>& x, const Twice<Half>& y) {
  return {x.a + y.a, x.b + y.b};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> ShiftLeft(const Twice<Half>& x, unsigned bits) {
  return {ShiftLeft(x.a, bits), ShiftLeft(x.b, bits)};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> ShiftRight(const Twice<Half>& x, unsigned bits) {
  return {ShiftRight(x.a, bits), ShiftRight(x.b, bits)};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> operator|(const Twice<Half>& x, const Twice<Half>& y) {
  return {x.a | y.a, x.b | y.b};
}
template <int kBits, class Half>
[[gnu::always_inline]] inline Twice<Half> Rotate(const Twice<Half>& x) {
  return {Rotate<kBits>(x.a), Rotate<kBits>(x.b)};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> AddRound1(const Twice<Half>& sum, const Twice<Half>& b, const Twice<Half>& c,
                                                    const Twice<Half>& d) {
  return {AddRound1(sum.a, b.a, c.a, d.a), AddRound1(sum.b, b.b, c.b, d.b)};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> AddRound2(const Twice<Half>& sum, const Twice<Half>& b, const Twice<Half>& c,
                                                    const Twice<Half>& d) {
  return {AddRound2(sum.a, b.a, c.a, d.a), AddRound2(sum.b, b.b, c.b, d.b)};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> AddRound3(const Twice<Half>& sum, const Twice<Half>& b, const Twice<Half>& c,
                                                    const Twice<Half>& d) {
  return {AddRound3(sum.a, b.a, c.a, d.a), AddRound3(sum.b, b.b, c.b, d.b)};
}
template <class Half>
[[gnu::always_inline]] inline Twice<Half> AddRound4(const Twice<Half>& sum, const Twice<Half>& b, const Twice<Half>& c,
                                                    const Twice<Half>& d) {
  return {AddRound4(sum.a, b.a, c.a, d.a), AddRound4(sum.b, b.b, c.b, d.b)};
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
