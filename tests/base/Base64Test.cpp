// Base64 against a decoder and an encoder that take one bit at a time.
#include "base/text/Base64.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "tests/base/SlowBase64.h"

namespace OrvWorkFlow::Base {
namespace {

using Base64Testing::kAlphabet;
using Base64Testing::SlowDecode;
using Base64Testing::SlowEncode;

std::string RandomText(std::mt19937& random, std::size_t length, std::string_view alphabet) {
  std::string text;
  for (std::size_t i = 0; i < length; ++i) {
    text += alphabet.empty() ? static_cast<char>(random() & 0xFF) : alphabet[random() % alphabet.size()];
  }
  return text;
}

TEST(Base64Test, KnownTexts) {
  const std::pair<std::string_view, std::string_view> cases[] = {{"", ""},
                                                                 {"f", "Zg=="},
                                                                 {"fo", "Zm8="},
                                                                 {"foo", "Zm9v"},
                                                                 {"foob", "Zm9vYg=="},
                                                                 {"fooba", "Zm9vYmE="},
                                                                 {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(EncodeBase64(bytes), text);
    EXPECT_EQ(DecodeBase64(text), bytes);
    EXPECT_EQ(CleanBase64Size(text), bytes.size());
  }
}

TEST(Base64Test, EveryByteInEveryPlaceAndEveryLength) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length < 200; ++length) {
    for (int i = 0; i < 20; ++i) {
      const std::string bytes = RandomText(random, length, {});
      const std::string text = EncodeBase64(bytes);
      ASSERT_EQ(text, SlowEncode(bytes));
      ASSERT_EQ(DecodeBase64(text), bytes);
    }
  }
}

TEST(Base64Test, AnyTextCanBeDecoded) {
  std::mt19937 random(2);
  const std::string mostly_digits = std::string(kAlphabet) + "\r\n-";
  const std::string with_ends = mostly_digits + "=";
  for (const std::string_view alphabet :
       {std::string_view(), std::string_view(mostly_digits), std::string_view(with_ends)}) {
    for (int i = 0; i < 4000; ++i) {
      const std::string text = RandomText(random, random() % 100, alphabet);
      ASSERT_EQ(DecodeBase64(text), SlowDecode(text)) << text;
    }
  }
}

TEST(Base64Test, WhatStandsBehindTheTextIsNotRead) {
  // The sanitizer watches the ends of both blocks.
  for (std::size_t length = 0; length < 40; ++length) {
    const std::string text(length, 'Q');
    const auto copy = std::make_unique<char[]>(length);
    text.copy(copy.get(), length);
    const auto bytes = std::make_unique<char[]>(Base64DecodedRoom(length));
    EXPECT_EQ(DecodeBase64(std::string_view(copy.get(), length), bytes.get()), SlowDecode(text).size());
  }
}

TEST(Base64Test, CleanTextsHoldNothingButDigitsBlanksAndAnEnd) {
  const std::pair<std::string_view, std::optional<std::size_t>> cases[] = {
      {"Zm9v", 3},      {"Zm9v\r\nYg==\n", 4}, {" Z g = = ", 1}, {"Zg", 1},
      {"Z", 0},         {"====", 0},           {"Zm9v-", {}},    {"<Zm9v>", {}},
      {"Zg==Zg==", {}}, {"Zg==\v", {}},        {"Zm9v\xE4", {}}, {std::string_view("Zm9v\0", 5), {}}};
  for (const auto& [text, size] : cases) EXPECT_EQ(CleanBase64Size(text), size) << text;
}

}  // namespace
}  // namespace OrvWorkFlow::Base
