// The scans of sixteen bytes at once against the ones of single bytes, at every offset and length.
#include "dictionary/xml/ByteScan.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// A block of exactly that size: one byte read too far is seen by the address sanitizer.
struct ExactText {
  explicit ExactText(const std::string& text) : bytes(text.begin(), text.end()) { bytes.shrink_to_fit(); }
  const char* begin() const { return bytes.data(); }
  const char* end() const { return bytes.data() + bytes.size(); }
  std::vector<char> bytes;
};

// A byte of the set at each place of texts of each length, and the search from each place.
template <class Set>
void CheckPlaces(char member, char other) {
  ASSERT_TRUE(Set::Has(member) && !Set::Has(other));
  for (std::size_t length = 0; length <= 50; ++length) {
    for (std::size_t place = 0; place <= length; ++place) {
      std::string text(length, other);
      if (place < length) text[place] = member;
      const ExactText exact(text);
      for (std::size_t from = 0; from <= length; ++from) {
        const char* const at = exact.begin() + from;
        const char* const expected = FindOneByOne<Set>(at, exact.end());
        ASSERT_EQ(FindFirst<Set>(at, exact.end()), expected) << length << ' ' << place << ' ' << from;
        ASSERT_EQ(FindFirst<Set>(exact.begin(), at, exact.end()), expected) << length << ' ' << place << ' ' << from;
      }
    }
  }
}

// Every byte, at the places of a block of sixteen and behind it.
template <class Set>
void CheckBytes() {
  for (int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    const std::string text(16, byte);
    const bool found = FindFirst<Set>(text.data(), text.data() + text.size()) == text.data();
    EXPECT_EQ(found, Set::Has(byte)) << value;
  }
}

TEST(ByteScan, FindsTheFirstByteWhereverItIs) {
  CheckPlaces<OneByte<'<'>>('<', '=');
  CheckPlaces<EitherSet<OneByte<'<'>, OneByte<'&'>>>('&', ' ');
  CheckPlaces<Blanks>('\t', 'x');
  CheckPlaces<AllBut<Blanks>>('x', '\n');
  CheckPlaces<AllBut<PathBytes>>('.', 'a');
  CheckPlaces<EscapedBytes>('\x07', '"');
}

TEST(ByteScan, SixteenAtOnceAreTheBytesOfTheSet) {
  CheckBytes<OneByte<'\0'>>();
  CheckBytes<OneByte<'\xFF'>>();
  CheckBytes<EitherSet<OneByte<'>'>, Blanks>>();
  CheckBytes<Blanks>();
  CheckBytes<AllBut<Blanks>>();
  CheckBytes<PathBytes>();
  CheckBytes<EscapedBytes>();
}

TEST(ByteScan, TheSetsHoldWhatTheyAreNamedAfter) {
  for (int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    const bool plain = value != 0 && std::string_view("\t\n\r").find(byte) == std::string_view::npos && value < 32;
    EXPECT_EQ(EscapedBytes::Has(byte), plain || byte == '&' || byte == '<' || byte == '>') << value;
    const bool alphanumeric =
        (value >= '0' && value <= '9') || ((value | 32) >= 'a' && (value | 32) <= 'z' && value < 128);
    EXPECT_EQ(PathBytes::Has(byte), alphanumeric || byte == '/' || byte == '_' || byte == '-') << value;
  }
}

TEST(ByteScan, SameTextComparesEveryByte) {
  for (std::size_t length = 0; length <= 40; ++length) {
    const ExactText one(std::string(length, 'a'));
    EXPECT_TRUE(SameText({one.begin(), length}, std::string(length, 'a')));
    EXPECT_FALSE(SameText({one.begin(), length}, std::string(length + 1, 'a')));
    for (std::size_t place = 0; place < length; ++place) {
      std::string other(length, 'a');
      other[place] = 'b';
      const ExactText exact(other);
      EXPECT_FALSE(SameText({one.begin(), length}, {exact.begin(), length})) << length << ' ' << place;
    }
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary
