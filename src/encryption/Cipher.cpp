#include "encryption/Cipher.h"

#include <cstdint>
#include <cstring>

#include "CoreObjects/Secret.h"
#include "OrvWorkFlow/IEncryption.h"
#include "encryption/ScalarWord.h"

namespace OrvWorkFlow {
namespace {

using Md5::ScalarWord;

// With fewer blocks than this, filling lanes takes longer than one block after the other.
constexpr std::size_t kLeastBlocksForLanes = 4;

// One block's digest after the other. Holds the key.
class SerialDigester {
 public:
  explicit SerialDigester(const Md5::PreparedKey& key) : key_(key) {
    std::memcpy(message_, key.message, sizeof message_);
  }
  SerialDigester(const SerialDigester&) = delete;
  SerialDigester& operator=(const SerialDigester&) = delete;
  ~SerialDigester() { Wipe(message_, sizeof message_); }

  // From the words of a block to the words of its digest.
  [[gnu::always_inline]] void Digest(ScalarWord (&x)[4]) {
    if (key_.bit_in_word == 0) {
      std::memcpy(message_ + key_.first_word, x, sizeof x);
    } else {
      ScalarWord parts[5];
      PlaceInMessage(key_, x, parts);
      for (unsigned i = 0; i < 5; ++i) {
        message_[key_.first_word + i] = key_.message[key_.first_word + i] | parts[i].value;
      }
    }
    ScalarWord state[4];
    std::memcpy(state, key_.entry, sizeof state);
    Steps(state, Md5::BlockAddend{message_}, key_.first_word);
    for (unsigned i = 0; i < 4; ++i) x[i] = state[i] + ScalarWord{key_.prefix[i]};
    if (!key_.has_two_blocks) return;
    std::memcpy(state, x, sizeof state);
    Steps(state, Md5::BlockAddend{message_ + 16}, 0);
    for (unsigned i = 0; i < 4; ++i) x[i] = x[i] + state[i];
  }

 private:
  const Md5::PreparedKey& key_;
  std::uint32_t message_[32];
};

void EncipherSerially(const Md5::PreparedKey& key, unsigned char* blocks, std::size_t count) {
  SerialDigester digester(key);
  ScalarWord words[4];
  ScalarWord::LoadBlocks(blocks - kCipherBlockSize, words);
  for (std::size_t i = 0; i < count; ++i, blocks += kCipherBlockSize) {
    digester.Digest(words);
    ScalarWord::XorIntoBlocks(words, blocks);
    ScalarWord::LoadBlocks(blocks, words);
  }
}

void DecipherSerially(const Md5::PreparedKey& key, unsigned char* blocks, std::size_t count) {
  SerialDigester digester(key);
  for (; count > 0; --count) {
    unsigned char* const block = blocks + (count - 1) * kCipherBlockSize;
    ScalarWord words[4];
    ScalarWord::LoadBlocks(block - kCipherBlockSize, words);
    digester.Digest(words);
    ScalarWord::XorIntoBlocks(words, block);
  }
}

// The first block has no cipher block before it.
void CombineFirstBlock(std::string_view key, std::string_view initial, unsigned char* block) {
  Wiped<std::uint32_t[4]> digest;
  Md5::Digest(key, initial, *digest);
  ScalarWord words[4];
  std::memcpy(words, *digest, sizeof words);
  ScalarWord::XorIntoBlocks(words, block);
}

}  // namespace

bool Encipher(void* data, std::size_t size, std::string_view key, std::string_view initial) noexcept {
  if (key.size() > kMaxKeyLength) return false;
  if (size == 0) return true;
  auto* const blocks = static_cast<unsigned char*>(data);
  CombineFirstBlock(key, initial, blocks);
  if (size == kCipherBlockSize) return true;
  Wiped<Md5::PreparedKey> prepared;
  Md5::PrepareKey(key, *prepared);
  EncipherSerially(*prepared, blocks + kCipherBlockSize, size / kCipherBlockSize - 1);
  return true;
}

bool Decipher(void* data, std::size_t size, std::string_view key, std::string_view initial) noexcept {
  if (size / kCipherBlockSize > kLeastBlocksForLanes) {
    return DecipherWith(*Md5::SupportedLanes().begin, data, size, key, initial);
  }
  static constexpr Md5::Lanes kOneByOne = {"serial", 1, DecipherSerially};
  return DecipherWith(kOneByOne, data, size, key, initial);
}

bool DecipherWith(const Md5::Lanes& lanes, void* data, std::size_t size, std::string_view key,
                  std::string_view initial) noexcept {
  if (key.size() > kMaxKeyLength) return false;
  if (size == 0) return true;
  auto* const blocks = static_cast<unsigned char*>(data);
  if (size > kCipherBlockSize) {
    Wiped<Md5::PreparedKey> prepared;
    Md5::PrepareKey(key, *prepared);
    lanes.decipher(*prepared, blocks + kCipherBlockSize, size / kCipherBlockSize - 1);
  }
  CombineFirstBlock(key, initial, blocks);
  return true;
}

}  // namespace OrvWorkFlow
