#include "encryption/BlockFunction.h"

#include <bit>
#include <cstring>

#include "CoreObjects/Secret.h"
#include "encryption/ScalarWord.h"

namespace OrvWorkFlow::Md5 {
namespace {

// A message's last part, padded: one block or two.
struct Tail {
  std::uint32_t words[32];
};

void Compress(std::uint32_t (&state)[4], const std::uint32_t* block) {
  ScalarWord words[4] = {{state[0]}, {state[1]}, {state[2]}, {state[3]}};
  Steps(words, BlockAddend{block}, 0);
  for (unsigned i = 0; i < 4; ++i) state[i] += words[i].value;
}

// Hashes the whole blocks of the key and answers the rest of it.
std::string_view CompressWholeBlocks(std::string_view key, std::uint32_t (&state)[4]) {
  std::memcpy(state, kStart, sizeof state);
  Wiped<std::uint32_t[kBlockSize / 4]> block;
  for (; key.size() >= kBlockSize; key.remove_prefix(kBlockSize)) {
    std::memcpy(*block, key.data(), kBlockSize);
    Compress(state, *block);
  }
  return key;
}

// Puts the end mark and the length behind `size` bytes, and says whether that takes two blocks. The rest must be zero.
bool Pad(Tail& tail, std::size_t size, std::size_t message_size) {
  auto* const bytes = reinterpret_cast<unsigned char*>(tail.words);
  bytes[size] = 0x80;
  const bool two_blocks = size + 1 + sizeof(std::uint64_t) > kBlockSize;
  tail.words[two_blocks ? 30 : 14] = static_cast<std::uint32_t>(message_size * 8);
  return two_blocks;
}

// The steps before the word in which x begins. Here the words change places after each step; Steps has them stay.
void RunFirstSteps(PreparedKey& key) {
  static constexpr int kRotations[4] = {7, 12, 17, 22};
  std::uint32_t state[4];
  std::memcpy(state, key.prefix, sizeof state);
  auto& [a, b, c, d] = state;
  for (unsigned step = 0; step < key.first_word; ++step) {
    const std::uint32_t sum = a + (d ^ (b & (c ^ d))) + kSines[step] + key.message[step];
    const std::uint32_t newest = b + std::rotl(sum, kRotations[step % 4]);
    a = d;
    d = c;
    c = b;
    b = newest;
  }
  for (unsigned i = 0; i < 4; ++i) key.entry[(i - key.first_word) % 4] = state[i];
  Wipe(state, sizeof state);
}

}  // namespace

void PrepareKey(std::string_view key, PreparedKey& prepared) {
  const std::string_view rest = CompressWholeBlocks(key, prepared.prefix);
  Wiped<Tail> tail;
  rest.copy(reinterpret_cast<char*>(tail->words), rest.size());
  prepared.has_two_blocks = Pad(*tail, rest.size() + kDigestSize, key.size() + kDigestSize);
  std::memcpy(prepared.message, tail->words, sizeof prepared.message);
  prepared.first_word = static_cast<std::uint32_t>(rest.size() / 4);
  prepared.bit_in_word = static_cast<std::uint32_t>(rest.size() % 4 * 8);
  RunFirstSteps(prepared);
}

void Digest(std::string_view key, std::string_view x, std::uint32_t (&digest)[4]) {
  const std::string_view rest = CompressWholeBlocks(key, digest);
  Wiped<Tail> tail;
  auto* const bytes = reinterpret_cast<char*>(tail->words);
  rest.copy(bytes, rest.size());
  x.copy(bytes + rest.size(), x.size());
  const bool two_blocks = Pad(*tail, rest.size() + x.size(), key.size() + x.size());
  Compress(digest, tail->words);
  if (two_blocks) Compress(digest, tail->words + 16);
}

}  // namespace OrvWorkFlow::Md5
