#include "encryption/BlockFunction.h"

#include <bit>
#include <cstring>

#include "base/secret/Secret.h"
#include "encryption/ScalarWord.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

// A message's last part, padded.
template <unsigned kBlocks>
struct Tail {
  std::uint32_t words[kBlocks * kBlockSize / 4];
};

constexpr bool FitsOneBlock(std::size_t size) { return size + 1 + sizeof(std::uint64_t) <= kBlockSize; }

void Compress(std::uint32_t (&state)[4], const std::uint32_t* block) {
  ScalarWord words[4] = {{state[0]}, {state[1]}, {state[2]}, {state[3]}};
  Steps(words, BlockAddend{block}, 0);
  for (unsigned i = 0; i < 4; ++i) state[i] += words[i].value;
}

// Hashes the whole blocks of the key and answers the rest of it.
std::string_view CompressWholeBlocks(std::string_view key, std::uint32_t (&state)[4]) {
  std::memcpy(state, kStart, sizeof state);
  if (key.size() < kBlockSize) return key;
  Base::Wiped<std::uint32_t[kBlockSize / 4]> block;
  for (; key.size() >= kBlockSize; key.remove_prefix(kBlockSize)) {
    std::memcpy(*block, key.data(), kBlockSize);
    Compress(state, *block);
  }
  return key;
}

// Writes whole words: a word that was written in parts is slow to read at once.
void PutRest(std::uint32_t* words, std::string_view rest) {
  const std::size_t whole = rest.size() / 4;
  if (whole != 0) std::memcpy(words, rest.data(), whole * 4);
  std::uint32_t last = 0;
  for (std::size_t i = whole * 4; i < rest.size(); ++i) {
    last |= std::uint32_t{static_cast<unsigned char>(rest[i])} << i % 4 * 8;
  }
  words[whole] = last;
}

// Puts the end mark behind `size` bytes, and the length at the end of that block. The rest must be zero.
void Pad(std::uint32_t* words, std::size_t size, std::size_t message_size) {
  words[size / 4] |= std::uint32_t{0x80} << size % 4 * 8;
  words[FitsOneBlock(size) ? 14 : 30] = static_cast<std::uint32_t>(message_size * 8);
}

// Hashes the end of a message of `message_size` bytes: `rest` followed by `x`.
template <unsigned kBlocks>
void CompressTail(std::string_view rest, std::string_view x, std::size_t message_size, std::uint32_t (&state)[4]) {
  Base::Wiped<Tail<kBlocks>> tail;
  PutRest(tail->words, rest);
  x.copy(reinterpret_cast<char*>(tail->words) + rest.size(), x.size());
  Pad(tail->words, rest.size() + x.size(), message_size);
  for (unsigned i = 0; i < kBlocks; ++i) Compress(state, tail->words + i * kBlockSize / 4);
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
  Base::Wipe(state, sizeof state);
}

}  // namespace

void PrepareKey(std::string_view key, PreparedKey& prepared) {
  const std::string_view rest = CompressWholeBlocks(key, prepared.prefix);
  std::memset(prepared.message, 0, sizeof prepared.message);
  PutRest(prepared.message, rest);
  Pad(prepared.message, rest.size() + kDigestSize, key.size() + kDigestSize);
  prepared.has_two_blocks = !FitsOneBlock(rest.size() + kDigestSize);
  prepared.first_word = static_cast<std::uint32_t>(rest.size() / 4);
  prepared.bit_in_word = static_cast<std::uint32_t>(rest.size() % 4 * 8);
  RunFirstSteps(prepared);
}

void Digest(std::string_view key, std::string_view x, std::uint32_t (&digest)[4]) {
  const std::string_view rest = CompressWholeBlocks(key, digest);
  const auto compress = FitsOneBlock(rest.size() + x.size()) ? CompressTail<1> : CompressTail<2>;
  compress(rest, x, key.size() + x.size(), digest);
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
