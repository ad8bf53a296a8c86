// The cipher in place: every key length, every way through the lanes, and what it refuses.
#include "encryption/Cipher.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "SlowCipher.h"
#include "encryption/BlockFunction.h"

namespace OrvWorkFlow::Core::Encryption::EncryptionTesting {
namespace {

constexpr std::size_t kLongestKey = 240;

std::string RandomBytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() & 0xFF);
  return bytes;
}

std::string Hex(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    for (const int shift : {4, 0}) text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> shift & 15];
  }
  return text;
}

TEST(CipherTest, TheModelIsMd5) {
  // The digests that RFC 1321 lists.
  EXPECT_EQ(Hex(SlowMd5("")), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Hex(SlowMd5("message digest")), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(Hex(SlowMd5("12345678901234567890123456789012345678901234567890123456789012345678901234567890")),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(CipherTest, DigestsOfEveryKeyLength) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length <= kLongestKey; ++length) {
    const std::string key = RandomBytes(random, length);
    for (const std::string& x : {std::string(), RandomBytes(random, 16)}) {
      std::uint32_t digest[4];
      Md5::Digest(key, x, digest);
      EXPECT_EQ(Hex(std::string(reinterpret_cast<const char*>(digest), sizeof digest)), Hex(SlowMd5(key + x)))
          << length;
    }
  }
}

TEST(CipherTest, EnciphersAsTheModelWithEveryKeyLength) {
  std::mt19937 random(2);
  for (std::size_t length = 0; length <= kLongestKey; ++length) {
    const std::string key = RandomBytes(random, length);
    const std::string plain = RandomBytes(random, 16 * (random() % 12));
    const std::string initial = RandomBytes(random, length % 2 * 16);
    const std::string expected = SlowEncipher(plain, key, initial, SlowMd5);
    std::string data = plain;
    ASSERT_TRUE(Encipher(data.data(), data.size(), key, initial));
    ASSERT_EQ(Hex(data), Hex(expected)) << length;
    ASSERT_TRUE(Decipher(data.data(), data.size(), key, initial));
    ASSERT_EQ(Hex(data), Hex(plain)) << length;
  }
}

// Every way this processor has, from the widest to the portable one.
class LanesTest : public ::testing::Test {
 protected:
  static std::vector<Md5::Lanes> All() {
    const Md5::LanesList list = Md5::SupportedLanes();
    return {list.begin, list.end};
  }
  // Enciphers `blocks` random blocks, and expects the plain ones of every way.
  static void ExpectAllDecipher(std::mt19937& random, std::size_t key_length, std::size_t blocks) {
    const std::string key = RandomBytes(random, key_length);
    const std::string plain = RandomBytes(random, 16 * blocks);
    std::string enciphered = plain;
    ASSERT_TRUE(Encipher(enciphered.data(), enciphered.size(), key));
    for (const Md5::Lanes& lanes : All()) {
      // One byte off, so that no kernel may count on an aligned text.
      std::string data = "x" + enciphered + "y";
      ASSERT_TRUE(DecipherWith(lanes, data.data() + 1, enciphered.size(), key));
      ASSERT_TRUE(data == "x" + plain + "y") << lanes.name << ", key " << key_length << ", blocks " << blocks;
    }
  }
};

TEST_F(LanesTest, ThePortableWayIsAlwaysThere) {
  ASSERT_FALSE(All().empty());
  EXPECT_STREQ(All().back().name, "portable");
  std::string names;
  for (const Md5::Lanes& lanes : All()) names += std::string(lanes.name) + " x " + std::to_string(lanes.lanes) + "; ";
  RecordProperty("lanes", names);
}

TEST_F(LanesTest, AllWaysDecipherWithEveryKeyLength) {
  std::mt19937 random(3);
  for (std::size_t length = 0; length <= kLongestKey; ++length) ExpectAllDecipher(random, length, 1 + random() % 70);
}

TEST_F(LanesTest, AllWaysDecipherEveryNumberOfBlocks) {
  std::mt19937 random(4);
  for (const std::size_t key_length : {8U, 39U, 40U, 51U, 240U}) {
    for (std::size_t blocks = 0; blocks <= 100; ++blocks) ExpectAllDecipher(random, key_length, blocks);
  }
}

// The model, and every chain this processor has.
TEST(ChainsTest, AllEncipherAsTheModelWithEveryKeyLength) {
  std::mt19937 random(5);
  const Md5::ChainsList chains = Md5::SupportedChains();
  ASSERT_NE(chains.begin, chains.end);
  EXPECT_STREQ(chains.end[-1].name, "serial");
  for (std::size_t length = 0; length <= kLongestKey; ++length) {
    const std::string key = RandomBytes(random, length);
    const std::string plain = RandomBytes(random, 16 * (random() % 12));
    const std::string expected = SlowEncipher(plain, key, "", SlowMd5);
    for (const Md5::Chain* chain = chains.begin; chain != chains.end; ++chain) {
      // One byte off, so that none may count on an aligned text.
      std::string data = "x" + plain + "y";
      ASSERT_TRUE(EncipherWith(*chain, data.data() + 1, plain.size(), key));
      ASSERT_EQ(Hex(data), Hex("x" + expected + "y")) << chain->name << ", key " << length;
    }
  }
}

// Long enough for the way that long texts take.
TEST(ChainsTest, LongTextsAreEncipheredAsTheModelDoes) {
  std::mt19937 random(6);
  for (const std::size_t key_length : {8U, 39U, 40U, 51U, 240U}) {
    for (const std::size_t blocks : {63U, 64U, 65U, 66U, 200U}) {
      const std::string key = RandomBytes(random, key_length);
      const std::string plain = RandomBytes(random, 16 * blocks);
      std::string data = plain;
      ASSERT_TRUE(Encipher(data.data(), data.size(), key));
      ASSERT_TRUE(data == SlowEncipher(plain, key, "", SlowMd5)) << key_length << ", " << blocks;
    }
  }
}

TEST(CipherTest, RefusesAKeyThatIsTooLong) {
  const std::string longest(kLongestKey, 'k');
  const std::string too_long(kLongestKey + 1, 'k');
  for (const std::size_t blocks : {0U, 1U, 2U, 50U}) {
    const std::string plain(16 * blocks, 'p');
    std::string data = plain;
    EXPECT_FALSE(Encipher(data.data(), data.size(), too_long));
    EXPECT_FALSE(Decipher(data.data(), data.size(), too_long));
    EXPECT_EQ(data, plain);
    EXPECT_TRUE(Encipher(data.data(), data.size(), longest));
    EXPECT_TRUE(Decipher(data.data(), data.size(), longest));
    EXPECT_EQ(data, plain);
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Encryption::EncryptionTesting
