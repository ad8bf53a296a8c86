#include "nodes/files/Crc32.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace OrvWorkFlow::Nodes {
namespace {

std::uint32_t ChecksumOf(std::string_view bytes) { return Crc32(bytes.data(), bytes.size()); }

// Bit by bit, as the polynomial says.
std::uint32_t SlowChecksumOf(std::string_view bytes) {
  std::uint32_t remainder = 0xFFFFFFFFu;
  for (const char byte : bytes) {
    remainder ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit)
      remainder = (remainder & 1u) != 0 ? (remainder >> 1) ^ 0xEDB88320u : remainder >> 1;
  }
  return ~remainder;
}

TEST(Crc32Test, KnownChecksums) {
  EXPECT_EQ(ChecksumOf(""), 0u);
  EXPECT_EQ(ChecksumOf("a"), 0xE8B7BE43u);
  EXPECT_EQ(ChecksumOf("123456789"), 0xCBF43926u);
  EXPECT_EQ(ChecksumOf("The quick brown fox jumps over the lazy dog"), 0x414FA339u);
  EXPECT_EQ(ChecksumOf(std::string(32, '\0')), 0x190A55ADu);
}

TEST(Crc32Test, NullAndEmptyAreTheSame) { EXPECT_EQ(Crc32(nullptr, 0), 0u); }

TEST(Crc32Test, AgreesWithTheSlowForm) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(ChecksumOf(bytes), SlowChecksumOf(bytes)) << "length " << i;
    bytes.push_back(static_cast<char>(i * 73 + i / 7));
  }
}

TEST(Crc32Test, BlocksGiveTheChecksumOfTheWhole) {
  const std::string_view whole = "a text that comes in two blocks";
  for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
    const std::uint32_t first = ChecksumOf(whole.substr(0, cut));
    EXPECT_EQ(Crc32(whole.data() + cut, whole.size() - cut, first), ChecksumOf(whole)) << "cut at " << cut;
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
