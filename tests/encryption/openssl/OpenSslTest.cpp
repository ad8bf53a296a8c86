// The object beside an independent MD5 and base64: OpenSSL's.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <random>

#include "encryption/EncryptionObject.h"
#include "tests/encryption/SlowCipher.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Encryption::EncryptionTesting {
namespace {

std::string OpenSslMd5(const std::string& message) {
  std::string digest(16, '\0');
  EVP_Digest(message.data(), message.size(), reinterpret_cast<unsigned char*>(digest.data()), nullptr, EVP_md5(),
             nullptr);
  return digest;
}

std::string OpenSslBase64(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<int>(bytes.size()));
  text.pop_back();
  return text;
}

std::string RandomText(std::mt19937& random, std::size_t length) {
  std::string text(length, '\0');
  for (char& character : text) character = static_cast<char>(1 + random() % 255);
  return text;
}

TEST(OpenSslTest, AgreesForEveryLengthOfKeyAndText) {
  std::mt19937 random(1);
  CEncryption object;
  for (std::size_t key_length = 0; key_length <= kMaxKeyLength + 1; ++key_length) {
    const std::string key = RandomText(random, key_length);
    for (std::size_t length = 0; length <= 100; ++length) {
      const std::string text = RandomText(random, length);
      orv_test::PString form("kept");
      const bool done = object.EncryptString(text.c_str(), key.c_str(), form.out());
      ASSERT_EQ(done, key_length <= kMaxKeyLength);
      if (!done) {
        ASSERT_EQ(form.str(), "kept");
        continue;
      }
      std::string padded = text;
      padded.resize((std::max<std::size_t>(length, 1) + 15) / 16 * 16);
      std::string expected = OpenSslBase64(SlowEncipher(padded, key, "", OpenSslMd5));
      if (length <= 16) expected.pop_back();
      ASSERT_EQ(form.str(), expected) << "key " << key_length << ", text " << length;
      ASSERT_TRUE(object.DecryptString(form->GetText(), key.c_str(), form.out()));
      ASSERT_EQ(form.str(), text) << "key " << key_length << ", text " << length;
    }
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Encryption::EncryptionTesting
