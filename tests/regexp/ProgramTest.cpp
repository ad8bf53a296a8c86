// What patterns compile to.
#include <gtest/gtest.h>

#include "regexp/Pattern.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

struct Case {
  const char* pattern;
  const char* program;
};

class ProgramTest : public testing::TestWithParam<Case> {};

TEST_P(ProgramTest, IsPrinted) {
  Pattern pattern;
  ASSERT_TRUE(pattern.Compile(GetParam().pattern)) << pattern.error_text();
  EXPECT_EQ(ToString(pattern.program()), GetParam().program);
}

TEST_P(ProgramTest, IsTheSameInWide) {
  std::u16string wide;
  for (const char* c = GetParam().pattern; *c != 0; ++c) wide += static_cast<char16_t>(*c);
  WidePattern pattern;
  ASSERT_TRUE(pattern.Compile(wide.c_str()));
  EXPECT_EQ(ToString(pattern.program()), GetParam().program);
}

const Case kCases[] = {
    {"", "1:BRANCH>7 4:NOTHING>7 7:END"},
    {"abc", "1:BRANCH>11 4:EXACTLY>11\"abc\" 11:END | first='a' required=\"abc\""},
    {"^a$", "1:BRANCH>15 4:BOL>7 7:EXACTLY>12\"a\" 12:EOL>15 15:END | anchored required=\"a\""},
    {"a.", "1:BRANCH>12 4:EXACTLY>9\"a\" 9:ANY>12 12:END | first='a' required=\"a\""},
    // Only the last character of a literal is repeated.
    {"abc*", "1:BRANCH>18 4:EXACTLY>10\"ab\" 10:STAR>18 13:EXACTLY\"c\" 18:END | first='a' required=\"ab\""},
    {"a+", "1:BRANCH>12 4:PLUS>12 7:EXACTLY\"a\" 12:END"},
    {"a?", "1:BRANCH>18 4:BRANCH>12 7:EXACTLY>15\"a\" 12:BRANCH>15 15:NOTHING>18 18:END"},
    {"a|b", "1:BRANCH>9 4:EXACTLY>17\"a\" 9:BRANCH>17 12:EXACTLY>17\"b\" 17:END"},
    {"^a|b", "1:BRANCH>12 4:BOL>7 7:EXACTLY>20\"a\" 12:BRANCH>20 15:EXACTLY>20\"b\" 20:END"},
    {"(a)b",
     "1:BRANCH>23 4:OPEN1>7 7:BRANCH>15 10:EXACTLY>15\"a\" 15:CLOSE1>18 18:EXACTLY>23\"b\" 23:END | required=\"b\""},
    {"(ab)*",
     "1:BRANCH>31 4:BRANCH>25 7:OPEN1>10 10:BRANCH>19 13:EXACTLY>19\"ab\" 19:CLOSE1>22 22:BACK>4 25:BRANCH>28 "
     "28:NOTHING>31 31:END"},
    {"(ab)+",
     "1:BRANCH>31 4:OPEN1>7 7:BRANCH>16 10:EXACTLY>16\"ab\" 16:CLOSE1>19 19:BRANCH>25 22:BACK>4 25:BRANCH>28 "
     "28:NOTHING>31 31:END"},
    {"(|a)", "1:BRANCH>24 4:OPEN1>7 7:BRANCH>13 10:NOTHING>21 13:BRANCH>21 16:EXACTLY>21\"a\" 21:CLOSE1>24 24:END"},
    // A set is spelled out; ranges go on from the character before their hyphen.
    {"[a-c-e]", "1:BRANCH>13 4:ANYOF>13\"abcde\" 13:END"},
    {"[^]-]", "1:BRANCH>10 4:ANYBUT>10\"]-\" 10:END"},
    {"[.-1]*x", "1:BRANCH>20 4:STAR>15 7:ANYOF\"./01\" 15:EXACTLY>20\"x\" 20:END | required=\"x\""},
    {"\\*\\\\", "1:BRANCH>10 4:EXACTLY>10\"*\\\\\" 10:END | first='*' required=\"*\\\\\""},
    {"\\**", "1:BRANCH>12 4:STAR>12 7:EXACTLY\"*\" 12:END"},
    // What stands in every match is known behind loops and groups, too.
    {"(a|bc)+/maps/x*",
     "1:BRANCH>57 4:OPEN1>7 7:BRANCH>15 10:EXACTLY>24\"a\" 15:BRANCH>24 18:EXACTLY>24\"bc\" 24:CLOSE1>27 27:BRANCH>33 "
     "30:BACK>4 33:BRANCH>36 36:NOTHING>39 39:EXACTLY>49\"/maps/\" 49:STAR>57 52:EXACTLY\"x\" 57:END | "
     "required=\"/maps/\""},
};
INSTANTIATE_TEST_SUITE_P(Table, ProgramTest, testing::ValuesIn(kCases));

TEST(ProgramTextTest, CharactersOutsideOfAsciiStandAsNumbers) {
  Pattern narrow;
  ASSERT_TRUE(narrow.Compile("\xe4\n"));
  EXPECT_EQ(ToString(narrow.program()),
            "1:BRANCH>10 4:EXACTLY>10\"\\xe4\\x0a\" 10:END | first='\\xe4' required=\"\\xe4\\x0a\"");
  WidePattern wide;
  ASSERT_TRUE(wide.Compile(u"[\u0410-\u0411]"));
  EXPECT_EQ(ToString(wide.program()), "1:BRANCH>10 4:ANYOF>10\"\\x0410\\x0411\" 10:END");
}

TEST(ProgramTextTest, BeginsWithItsMark) {
  Pattern pattern;
  ASSERT_TRUE(pattern.Compile("a"));
  EXPECT_EQ(pattern.program().code[0], 0x9c);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
