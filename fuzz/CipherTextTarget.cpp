// Enciphered texts: the object and every lane width against the cipher as its definition says it. An input is a key, a
// line feed, and a text that is deciphered and enciphered.
#include <algorithm>

#include "encryption/Cipher.h"
#include "encryption/EncryptionObject.h"
#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/base/SlowBase64.h"
#include "tests/encryption/SlowCipher.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Fuzz {

namespace {

using Core::Encryption::EncryptionTesting::SlowMd5;

// Of bytes that need be no whole blocks.
std::string SlowDecipher(const std::string& data, const std::string& key) {
  std::string plain = data;
  for (std::size_t block = 0; block < data.size(); block += 16) {
    const std::string digest = SlowMd5(key + (block == 0 ? "" : data.substr(block - 16, 16)));
    for (std::size_t i = block; i < std::min(block + 16, data.size()); ++i) {
      plain[i] = static_cast<char>(data[i] ^ digest[i - block]);
    }
  }
  return plain;
}

void CompareLanes(const std::string& blocks, const std::string& key) {
  const std::string expected = SlowDecipher(blocks, key);
  const Core::Encryption::Md5::LanesList list = Core::Encryption::Md5::SupportedLanes();
  for (const Core::Encryption::Md5::Lanes* lanes = list.begin; lanes != list.end; ++lanes) {
    std::string data = blocks;
    Require(Core::Encryption::DecipherWith(*lanes, data.data(), data.size(), key), "a key that is refused");
    Require(data == expected, std::string("another plain text in lanes: ") + lanes->name);
  }
}

}  // namespace

void CipherText(std::string_view input) {
  const std::string key = std::string(TakeUntil('\n', input)).c_str();
  const std::string text = std::string(input).c_str();
  Core::Encryption::CEncryption object;
  const orv_test::PString plain;
  const orv_test::PString enciphered;
  const bool is_key = key.size() <= kMaxKeyLength;
  Require(object.DecryptString(text.c_str(), key.c_str(), plain.out()) == is_key, "deciphered, or not");
  Require(object.EncryptString(text.c_str(), key.c_str(), enciphered.out()) == is_key, "enciphered, or not");
  if (!is_key) return;
  Require(plain.str() == SlowDecipher(Base64Testing::SlowDecode(text), key).c_str(), "another plain text");
  Require(object.DecryptString(enciphered.str().c_str(), key.c_str(), plain.out()) && plain.str() == text,
          "an enciphered text does not come back");
  CompareLanes(std::string(input.substr(
                   0, input.size() / Core::Encryption::kCipherBlockSize * Core::Encryption::kCipherBlockSize)),
               key);
}

}  // namespace OrvWorkFlow::Fuzz
