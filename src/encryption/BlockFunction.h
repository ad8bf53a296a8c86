// The cipher's block function D(x) = MD5(key bytes followed by x), prepared for one key: what does not depend on x is
// done once. The key's whole 64-byte blocks are hashed, the rest stands in a message that only waits for x, and the
// steps before x comes in are done.
#pragma once

#include <cstdint>
#include <string_view>

#include "encryption/Md5.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {

// Holds the key: to be wiped. Plain data, read by the lane kernels.
struct PreparedKey {
  std::uint32_t prefix[4];    // After the whole blocks of the key.
  std::uint32_t entry[4];     // After the steps of the next block that come before x.
  std::uint32_t first_word;   // The word of the message in which x begins,
  std::uint32_t bit_in_word;  // and at which of its bits: 0, 8, 16 or 24.
  bool has_two_blocks;        // Does the message take a second one?
  std::uint32_t message[32];  // With zeros in place of x.
};

// The same for a key of at most kMaxKeyLength bytes and an x of 16 bytes.
void PrepareKey(std::string_view key, PreparedKey& prepared);

// D(x) for an x of 0 or 16 bytes, without preparation.
void Digest(std::string_view key, std::string_view x, std::uint32_t (&digest)[4]);

// The message words that x = x0 x1 x2 x3 takes part in: five, beginning at `first_word`.
template <class Word>
[[gnu::always_inline]] inline void PlaceInMessage(const PreparedKey& key, const Word (&x)[4], Word (&parts)[5]) {
  const unsigned left = key.bit_in_word;
  const unsigned right = 32 - left;
  parts[0] = ShiftLeft(x[0], left);
  for (unsigned i = 1; i < 4; ++i) parts[i] = ShiftRight(x[i - 1], right) | ShiftLeft(x[i], left);
  parts[4] = ShiftRight(x[3], right);
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
