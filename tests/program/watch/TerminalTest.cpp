// What a terminal would obey is shown instead.
#include <gtest/gtest.h>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {
namespace {

TEST(VisibleTest, TextStaysAsItIs) {
  for (const char* text : {"", "flow.xml", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 \\x1b"})
    EXPECT_EQ(Visible(text), text);
}

TEST(VisibleTest, ControlCharactersAreSpeltOut) {
  EXPECT_EQ(Visible("\x1b[2J\a\t\x7f"), "\\x1b[2J\\x07\\x09\\x7f");
  EXPECT_EQ(Visible(std::string_view("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(Visible("\xc2\x9b"
                    "31m"),
            "\\x9b31m")
      << "a control sequence in one character";
  EXPECT_EQ(Visible("a\xe2\x80\xae"
                    "b\xe2\x81\xa6"),
            "a\\u202eb\\u2066")
      << "the direction of writing";
}

TEST(VisibleTest, BytesThatAreNoUtf8AreSpeltOut) {
  EXPECT_EQ(Visible("\xff\xc3"), "\\xff\\xc3");
  EXPECT_EQ(Visible("\xc0\xaf"), "\\xc0\\xaf") << "overlong";
  EXPECT_EQ(Visible("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a pair";
  EXPECT_EQ(Visible("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last character";
  EXPECT_EQ(Visible("\xe2\x82"), "\\xe2\\x82") << "cut off";
  EXPECT_EQ(Visible("\xe2\x82z"), "\\xe2\\x82z");
}

}  // namespace
}  // namespace OrvWorkFlow::Program
