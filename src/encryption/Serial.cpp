// One block after the other, by plain numbers: what there is for every processor, and the best for few blocks.
#include <cstdint>
#include <cstring>

#include "base/secret/Secret.h"
#include "encryption/LaneFiles.h"
#include "encryption/ScalarWord.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

// One block's digest after the other. Holds the key.
class SerialDigester {
 public:
  explicit SerialDigester(const PreparedKey& key) : key_(key) { std::memcpy(message_, key.message, sizeof message_); }
  SerialDigester(const SerialDigester&) = delete;
  SerialDigester& operator=(const SerialDigester&) = delete;
  ~SerialDigester() { Base::Wipe(message_, sizeof message_); }

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
    Steps(state, BlockAddend{message_}, key_.first_word);
    for (unsigned i = 0; i < 4; ++i) x[i] = state[i] + ScalarWord{key_.prefix[i]};
    if (!key_.has_two_blocks) return;
    std::memcpy(state, x, sizeof state);
    Steps(state, BlockAddend{message_ + 16}, 0);
    for (unsigned i = 0; i < 4; ++i) x[i] = x[i] + state[i];
  }

 private:
  const PreparedKey& key_;
  std::uint32_t message_[32];
};

void EncipherSerially(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  SerialDigester digester(key);
  ScalarWord words[4];
  ScalarWord::LoadBlocks(blocks - kDigestSize, words);
  for (std::size_t i = 0; i < count; ++i, blocks += kDigestSize) {
    digester.Digest(words);
    ScalarWord::XorIntoBlocks(words, blocks);
    ScalarWord::LoadBlocks(blocks, words);
  }
}

void DecipherSerially(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  SerialDigester digester(key);
  for (; count > 0; --count) {
    unsigned char* const block = blocks + (count - 1) * kDigestSize;
    ScalarWord words[4];
    ScalarWord::LoadBlocks(block - kDigestSize, words);
    digester.Digest(words);
    ScalarWord::XorIntoBlocks(words, block);
  }
}

}  // namespace

const Lanes kSerialLanes = {"serial", 1, DecipherSerially};
const Chain kSerialChain = {"serial", EncipherSerially};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
