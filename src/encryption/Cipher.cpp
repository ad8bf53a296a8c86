#include "encryption/Cipher.h"

#include <cstdint>
#include <cstring>

#include "OrvWorkFlow/IEncryption.h"
#include "base/secret/Secret.h"
#include "encryption/LaneFiles.h"
#include "encryption/ScalarWord.h"

namespace OrvWorkFlow::Core::Encryption {
namespace {

using Md5::ScalarWord;

// With fewer blocks than these, preparing lanes and chains takes longer than one block after the other.
constexpr std::size_t kLeastBlocksForLanes = 4;
constexpr std::size_t kLeastBlocksForChains = 64;

// The first block has no cipher block before it.
void CombineFirstBlock(std::string_view key, std::string_view initial, unsigned char* block) {
  Base::Wiped<std::uint32_t[4]> digest;
  Md5::Digest(key, initial, *digest);
  ScalarWord words[4];
  std::memcpy(words, *digest, sizeof words);
  ScalarWord::XorIntoBlocks(words, block);
}

}  // namespace

bool Encipher(void* data, std::size_t size, std::string_view key, std::string_view initial) noexcept {
  const bool is_long = size / kCipherBlockSize > kLeastBlocksForChains;
  return EncipherWith(is_long ? *Md5::SupportedChains().begin : Md5::kSerialChain, data, size, key, initial);
}

bool Decipher(void* data, std::size_t size, std::string_view key, std::string_view initial) noexcept {
  const bool is_long = size / kCipherBlockSize > kLeastBlocksForLanes;
  return DecipherWith(is_long ? *Md5::SupportedLanes().begin : Md5::kSerialLanes, data, size, key, initial);
}

bool EncipherWith(const Md5::Chain& chain, void* data, std::size_t size, std::string_view key,
                  std::string_view initial) noexcept {
  if (key.size() > kMaxKeyLength) return false;
  if (size == 0) return true;
  auto* const blocks = static_cast<unsigned char*>(data);
  CombineFirstBlock(key, initial, blocks);
  if (size == kCipherBlockSize) return true;
  Base::Wiped<Md5::PreparedKey> prepared;
  Md5::PrepareKey(key, *prepared);
  chain.encipher(*prepared, blocks + kCipherBlockSize, size / kCipherBlockSize - 1);
  return true;
}

bool DecipherWith(const Md5::Lanes& lanes, void* data, std::size_t size, std::string_view key,
                  std::string_view initial) noexcept {
  if (key.size() > kMaxKeyLength) return false;
  if (size == 0) return true;
  auto* const blocks = static_cast<unsigned char*>(data);
  if (size > kCipherBlockSize) {
    Base::Wiped<Md5::PreparedKey> prepared;
    Md5::PrepareKey(key, *prepared);
    lanes.decipher(*prepared, blocks + kCipherBlockSize, size / kCipherBlockSize - 1);
  }
  CombineFirstBlock(key, initial, blocks);
  return true;
}

}  // namespace OrvWorkFlow::Core::Encryption
