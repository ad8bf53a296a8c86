// The bytes of a bridge: what is said comes back, and nothing else is believed.
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "nodes/bridge/BridgeFrames.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/files/Crc32.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;
using OrvWorkFlow::ValueType;
using OrvWorkFlow::Nodes::Crc32;

std::vector<Frame> SomeFrames() {
  Ack ack;
  ack.receiver = {1, 2};
  ack.receiver_epoch = 3;
  ack.sender = {4, 5};
  ack.holder = {6, 7};
  ack.highest = 8;
  ack.held = 9;
  ack.probe = 10;
  ack.gap = true;
  ack.refusals = {{8, "no such signal"}};
  return {Hello{{1, 2}, {3, 4}, {5, 6}, 7, 8}, ack, Data{{1, 2}, {3, 4}, {5, 6}, 7, 8, std::string("a\0b", 3)}};
}

std::string SomeLetter() {
  Letter letter;
  letter.signal = "order";
  Value text;
  text.path = "/Orders/Name";
  text.type = ValueType::String;
  text.texts = {"four"};
  Value list = text;
  list.type = ValueType::StringList;
  list.texts = {"a", "", "c"};
  Value number;
  number.path = "/N";
  number.type = ValueType::Integer;
  number.integer = -5;
  Value real = number;
  real.type = ValueType::Double;
  real.number = 0.1;
  Value boolean = number;
  boolean.type = ValueType::Boolean;
  boolean.boolean = true;
  letter.values = {text, list, number, real, boolean};
  return EncodeLetter(letter);
}

// With the checksum of what it holds.
std::string WithChecksum(std::string bytes) {
  bytes.resize(bytes.size() - 4);
  Writer checksum;
  checksum.Number(Crc32(bytes.data(), bytes.size()), 4);
  return bytes + checksum.bytes();
}

TEST(BridgeFramesTest, WhatIsSaidComesBack) {
  const std::vector<Frame> frames = SomeFrames();
  for (const Frame& frame : frames) {
    const std::string bytes = Encode(frame);
    const auto back = Decode(bytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->index(), frame.index());
    EXPECT_EQ(Encode(*back), bytes);
  }
  const Letter letter = DecodeLetter(SomeLetter());
  EXPECT_EQ(letter.signal, "order");
  ASSERT_EQ(letter.values.size(), 5U);
  EXPECT_EQ(letter.values[1].texts, (std::vector<std::string>{"a", "", "c"}));
  EXPECT_EQ(letter.values[2].integer, -5);
  EXPECT_EQ(letter.values[3].number, 0.1);
  EXPECT_EQ(EncodeLetter(letter), SomeLetter());
}

// The layout of docs/bridge.md.
TEST(BridgeFramesTest, TheBytesAreThoseOfThePage) {
  const std::string bytes = Encode(Hello{{1, 2}, {3, 4}, {5, 6}, 7, 8});
  ASSERT_EQ(bytes.size(), 4U + 1 + 16 + 16 + 16 + 8 + 8 + 4);
  EXPECT_EQ(bytes.substr(0, 5), "OWB\x01\x01");
  EXPECT_EQ(bytes[5], '\x01');
  EXPECT_EQ(bytes[13], '\x02');
  EXPECT_EQ(bytes[53], '\x07');
}

TEST(BridgeFramesTest, WhatIsCutOrChangedIsNoFrame) {
  const std::vector<Frame> frames = SomeFrames();
  for (const Frame& frame : frames) {
    const std::string bytes = Encode(frame);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      EXPECT_FALSE(Decode(bytes.substr(0, size))) << size;
      if (size >= 9) {
        EXPECT_FALSE(Decode(WithChecksum(bytes.substr(0, size)))) << size;
      }
    }
    EXPECT_FALSE(Decode(bytes + "x"));
    EXPECT_FALSE(Decode(WithChecksum(bytes + "xxxxx")));
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
      std::string changed = bytes;
      changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << (bit % 8)));
      EXPECT_FALSE(Decode(changed)) << bit;
    }
  }
}

TEST(BridgeFramesTest, HostileBytesAreReadWithoutHarm) {
  std::mt19937 random(5);
  const std::vector<Frame> frames = SomeFrames();
  const std::string letter = SomeLetter();
  int read = 0;
  int refused = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string bytes = i % 2 == 0 ? Encode(frames[random() % frames.size()]) : letter;
    const std::size_t changes = 1 + random() % 4;
    for (std::size_t j = 0; j < changes; ++j) bytes[random() % bytes.size()] = static_cast<char>(random());
    if (random() % 4 == 0) bytes.resize(4 + random() % bytes.size());
    if (i % 2 == 0) {
      Decode(bytes);
      if (const auto frame = Decode(WithChecksum(bytes))) {
        EXPECT_EQ(Encode(*frame), WithChecksum(bytes));
        ++read;
      }
      continue;
    }
    try {
      DecodeLetter(bytes);
      ++read;
    } catch (const std::runtime_error&) {
      ++refused;
    }
  }
  EXPECT_GT(read, 100);
  EXPECT_GT(refused, 100);
}

TEST(BridgeFramesTest, ALetterWritesOnlyWherePathsArePaths) {
  for (const char* path : {"", "/", "N", "//N", "/N/", "/a b", "/a/../b", "/a\"b"}) {
    Letter letter;
    letter.signal = "x";
    letter.values.resize(1);
    letter.values[0].path = path;
    letter.values[0].type = ValueType::Integer;
    EXPECT_THROW(DecodeLetter(EncodeLetter(letter)), std::runtime_error) << path;
  }
  Letter letter;
  letter.signal = "x";
  letter.values.resize(1);
  letter.values[0].path = "/N";
  letter.values[0].type = ValueType::String;
  letter.values[0].texts = {std::string("a\0b", 3)};
  EXPECT_THROW(DecodeLetter(EncodeLetter(letter)), std::runtime_error);
}

TEST(BridgeFramesTest, IdsAreTexts) {
  const Id id{0x0123456789abcdefULL, 0xfedcba9876543210ULL};
  EXPECT_EQ(id.Text(), "0123456789abcdeffedcba9876543210");
  EXPECT_EQ(Id::FromText(id.Text()), id);
  for (const char* text : {"", "01", "0123456789abcdeffedcba987654321g", "0123456789abcdeffedcba98765432100"}) {
    EXPECT_TRUE(Id::FromText(text).IsNone()) << text;
  }
  EXPECT_NE(Id::Random(), Id::Random());
}

}  // namespace
}  // namespace orv_test
