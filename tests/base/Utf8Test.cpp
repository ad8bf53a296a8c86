// UTF-8 and UTF-16 of one another.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "base/text/Utf8.h"

namespace OrvWorkFlow::Base {
namespace {

TEST(Utf8, CharactersGoThereAndBack) {
  for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x10000 ? 1 : 61) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    std::u16string wide;
    if (c < 0x10000) {
      wide = static_cast<char16_t>(c);
    } else {
      wide = {static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)), static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
    }
    std::string narrow;
    std::u16string again;
    ASSERT_TRUE(Utf16ToUtf8(wide, &narrow)) << static_cast<unsigned>(c);
    ASSERT_TRUE(Utf8ToUtf16(narrow, &again)) << static_cast<unsigned>(c);
    ASSERT_TRUE(again == wide) << static_cast<unsigned>(c);
    ASSERT_EQ(narrow.size(), c < 0x80 ? 1U : c < 0x800 ? 2U : c < 0x10000 ? 3U : 4U);
  }
}

TEST(Utf8, MalformedTextIsRefused) {
  std::u16string wide = u"untouched";
  for (const std::string_view bad :
       {"\x80", "a\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\xE2\x82", "\xC3", "\xC3(", "\xFF"}) {
    EXPECT_FALSE(Utf8ToUtf16(bad, &wide));
    EXPECT_FALSE(IsUtf8(bad));
  }
  EXPECT_EQ(wide, u"untouched");
  std::string narrow = "untouched";
  const char16_t bad[][2] = {{0xD800, u'a'}, {0xDC00, 0xD800}, {u'a', 0xD800}, {0xDBFF, 0xE000}};
  for (const auto& units : bad) EXPECT_FALSE(Utf16ToUtf8({units, 2}, &narrow));
  EXPECT_EQ(narrow, "untouched");
}

}  // namespace
}  // namespace OrvWorkFlow::Base
