// Patterns that are refused, and why.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "regexp/Pattern.h"
#include "tests/regexp/Compare.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

struct Case {
  const char* pattern;
  const char* error;
};

class ErrorTest : public testing::TestWithParam<Case> {};

TEST_P(ErrorTest, IsReportedInBothWidths) {
  Pattern narrow;
  EXPECT_FALSE(narrow.Compile(GetParam().pattern));
  EXPECT_STREQ(narrow.error_text(), GetParam().error);
  EXPECT_STREQ(LastPatternError(), GetParam().error);
  WidePattern wide;
  EXPECT_FALSE(wide.Compile(orv_test::Widen(GetParam().pattern).c_str()));
  EXPECT_STREQ(wide.error_text(), GetParam().error);
}

TEST_P(ErrorTest, MatchesNothing) {
  EXPECT_FALSE(PatternMatch(GetParam().pattern, ""));
  EXPECT_FALSE(PatternMatch(GetParam().pattern, "a"));
}

const Case kCases[] = {
    {"(", "unmatched ()"},
    {")", "unmatched ()"},
    {"a)b", "unmatched ()"},
    {"(a", "unmatched ()"},
    {"(a))", "unmatched ()"},
    {"((a)", "unmatched ()"},
    {"()()()()()()()()()()", "too many ()"},
    {"((((((((((", "too many ()"},
    {"(((((((((a)))))))))(b)", "too many ()"},
    {"(a*)*", "*+ operand could be empty"},
    {"(a*)+", "*+ operand could be empty"},
    {"(a|b*)*", "*+ operand could be empty"},
    {"()*", "*+ operand could be empty"},
    {"(|a)+", "*+ operand could be empty"},
    {"(a?)*", "*+ operand could be empty"},
    {"(^)*", "*+ operand could be empty"},
    {"^*", "*+ operand could be empty"},
    {"a$+", "*+ operand could be empty"},
    {"a**", "nested *?+"},
    {"a*?", "nested *?+"},
    {"a??", "nested *?+"},
    {"a+*", "nested *?+"},
    {"(a)?+", "nested *?+"},
    {"*", "?+* follows nothing"},
    {"+a", "?+* follows nothing"},
    {"a|?", "?+* follows nothing"},
    {"(*a)", "?+* follows nothing"},
    {"(a|*)", "?+* follows nothing"},
    {"[", "unmatched []"},
    {"[]", "unmatched []"},
    {"[^]", "unmatched []"},
    {"[^", "unmatched []"},
    {"[abc", "unmatched []"},
    {"[a-", "unmatched []"},
    {"[]abc", "unmatched []"},
    {"[b-a]", "invalid [] range"},
    {"[a-c-b]", "invalid [] range"},
    {"[a--]", "invalid [] range"},
    {"\\", "trailing \\"},
    {"abc\\", "trailing \\"},
    {"(a\\", "trailing \\"},
    // The first from the left, and of two at one place the operand's.
    {"(a*)**", "*+ operand could be empty"},
    {"a**[", "nested *?+"},
    {"[b-a", "invalid [] range"},
    {"(*", "?+* follows nothing"},
    {"a)*", "unmatched ()"},
    {"(((((((((((*", "too many ()"},
};
INSTANTIATE_TEST_SUITE_P(Table, ErrorTest, testing::ValuesIn(kCases));

TEST(PatternErrorTest, NullPattern) {
  EXPECT_FALSE(PatternMatch(static_cast<const char*>(nullptr), "a"));
  EXPECT_STREQ(LastPatternError(), "NULL argument");
  EXPECT_FALSE(PatternMatch(static_cast<const char16_t*>(nullptr), u"a"));
  EXPECT_STREQ(LastPatternError(), "NULL argument");
}

TEST(PatternErrorTest, NullText) {
  EXPECT_FALSE(PatternMatch("a*", nullptr));
  EXPECT_STREQ(LastPatternError(), "NULL parameter");
  EXPECT_FALSE(PatternMatch(u"a*", nullptr));
  EXPECT_STREQ(LastPatternError(), "NULL parameter");
}

TEST(PatternErrorTest, SearchWithoutACompiledPattern) {
  const Pattern pattern{};
  EXPECT_FALSE(pattern.Search("a"));
  EXPECT_STREQ(LastPatternError(), "NULL parameter");
  Pattern refused;
  EXPECT_FALSE(refused.Compile("("));
  EXPECT_FALSE(refused.Search("("));
}

// A bare literal takes eleven units more than it is long.
TEST(PatternErrorTest, ProgramsGoUpTo32766Units) {
  Pattern fits;
  EXPECT_TRUE(fits.Compile(std::string(32755, 'a').c_str()));
  EXPECT_EQ(fits.program().code.size(), 32766U);
  EXPECT_TRUE(fits.Search(std::string(40000, 'a')));
  Pattern too_big;
  EXPECT_FALSE(too_big.Compile(std::string(32756, 'a').c_str()));
  EXPECT_STREQ(too_big.error_text(), "regexp too big");
  WidePattern wide;
  EXPECT_FALSE(wide.Compile(std::u16string(32756, u'a').c_str()));
  EXPECT_STREQ(wide.error_text(), "regexp too big");
}

TEST(PatternErrorTest, OtherErrorsGoBeforeTooBig) {
  const std::string big(40000, 'a');
  Pattern pattern;
  EXPECT_FALSE(pattern.Compile((big + "(b|c)*(d+)+(").c_str()));
  EXPECT_STREQ(pattern.error_text(), "unmatched ()");
  Pattern too_big;
  EXPECT_FALSE(too_big.Compile((big + "(b|c)*(d+)+e?").c_str()));
  EXPECT_STREQ(too_big.error_text(), "regexp too big");
}

TEST(PatternErrorTest, WideRangeOfAllCharactersIsTooBig) {
  WidePattern pattern;
  EXPECT_FALSE(pattern.Compile(u"[\x01-\xffff]"));
  EXPECT_STREQ(pattern.error_text(), "regexp too big");
}

TEST(PatternErrorTest, StaysUntilTheNextFailure) {
  EXPECT_FALSE(PatternMatch("a**", "a"));
  EXPECT_TRUE(PatternMatch("a", "a"));
  EXPECT_FALSE(PatternMatch("a", "b"));
  EXPECT_STREQ(LastPatternError(), "nested *?+");
}

TEST(PatternErrorTest, BelongsToItsThread) {
  EXPECT_FALSE(PatternMatch("[", "a"));
  std::string before = "not asked";
  std::string after;
  std::thread([&] {
    before = LastPatternError();
    PatternMatch("(", "a");
    after = LastPatternError();
  }).join();
  EXPECT_EQ(before, "");
  EXPECT_EQ(after, "unmatched ()");
  EXPECT_STREQ(LastPatternError(), "unmatched []");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
