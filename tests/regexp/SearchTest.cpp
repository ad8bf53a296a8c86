// What patterns match, case by case.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "regexp/Pattern.h"
#include "tests/regexp/Compare.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

struct Case {
  const char* pattern;
  const char* text;
  const char* found;  // Where, as Describe gives it; null for not at all.
};

class SearchTest : public testing::TestWithParam<Case> {};

TEST_P(SearchTest, FindsNarrowAndWide) {
  const auto& [pattern, text, found] = GetParam();
  Pattern narrow;
  ASSERT_TRUE(narrow.Compile(pattern)) << narrow.error_text();
  WidePattern wide;
  ASSERT_TRUE(wide.Compile(orv_test::Widen(pattern).c_str()));
  SubMatches positions{};
  const bool in_narrow = narrow.Search(text, &positions);
  EXPECT_EQ(in_narrow ? orv_test::Describe(positions) : "not at all", found != nullptr ? found : "not at all");
  const bool in_wide = wide.Search(orv_test::Widen(text).c_str(), &positions);
  EXPECT_EQ(in_wide ? orv_test::Describe(positions) : "not at all", found != nullptr ? found : "not at all");
  EXPECT_EQ(PatternMatch(pattern, text), found != nullptr);
}

const Case kCases[] = {
    // The empty text.
    {"", "", "0=[0,0)"},
    {"", "abc", "0=[0,0)"},
    {"a*", "", "0=[0,0)"},
    {"^", "", "0=[0,0)"},
    {"^", "abc", "0=[0,0)"},
    {"$", "abc", "0=[3,3)"},
    {"^$", "", "0=[0,0)"},
    {"^$", "a", nullptr},
    {"a|", "b", "0=[0,0)"},
    {"|a", "a", "0=[0,0)"},
    {"()", "x", "0=[0,0)1=[0,0)"},
    {"()?", "x", "0=[0,0)1=[0,0)"},
    // Found anywhere, leftmost first.
    {"Engine", "/WorkFlowEngine/maps", "0=[9,15)"},
    {".*", "/a/b", "0=[0,4)"},
    {"b|a", "xab", "0=[1,2)"},
    {"^/a/b$", "/a/b", "0=[0,4)"},
    {"^/a/b$", "/a/b/c", nullptr},
    {"^/a/b$", "a//b/", nullptr},
    // Anchors, also where they cannot hold.
    {"^a|b", "xb", "0=[1,2)"},
    {"^a|b", "xa", nullptr},
    {"a^b", "ab", nullptr},
    {"a$b", "ab", nullptr},
    {"(^a)+", "aa", "0=[0,1)1=[0,1)"},
    {"a$", "a\n", nullptr},
    {"^b", "a\nb", nullptr},
    {"a.b", "a\nb", "0=[0,3)"},
    {"^?a", "ba", "0=[1,2)"},
    // Greedy, and giving back.
    {"a*a", "aaa", "0=[0,3)"},
    {"a+b", "aaab", "0=[0,4)"},
    {"a+", "bbb", nullptr},
    {"ab?c", "ac", "0=[0,2)"},
    {"ab?c", "abc", "0=[0,3)"},
    {"ab*", "abbb", "0=[0,4)"},
    {"(ab)*", "ababa", "0=[0,4)1=[2,4)"},
    {"a*ab", "aab", "0=[0,3)"},
    {".*b.", "abcbd", "0=[0,5)"},
    {".+x", "axbx", "0=[0,4)"},
    {"a?a?a?aaa", "aaa", "0=[0,3)"},
    // The first alternative wins, not the longest.
    {"a|ab", "ab", "0=[0,1)"},
    {"(a|ab)(c|bcd)", "abcd", "0=[0,4)1=[0,1)2=[1,4)"},
    // Groups: the last pass, nothing for those without a part.
    {"(a)|(b)", "b", "0=[0,1)2=[0,1)"},
    {"(a|b)*", "abab", "0=[0,4)1=[3,4)"},
    {"(a|b)*", "c", "0=[0,0)"},
    {"(a|b)+c", "xabc", "0=[1,4)1=[2,3)"},
    {"((a|b)*c)*", "abcc", "0=[0,4)1=[3,4)2=[1,2)"},
    {"(.)*b", "aab", "0=[0,3)1=[1,2)"},
    {"(a)(b)(c)(d)(e)(f)(g)(h)(i)", "abcdefghi",
     "0=[0,9)1=[0,1)2=[1,2)3=[2,3)4=[3,4)5=[4,5)6=[5,6)7=[6,7)8=[7,8)9=[8,9)"},
    {"(((((((((a)))))))))", "a", "0=[0,1)1=[0,1)2=[0,1)3=[0,1)4=[0,1)5=[0,1)6=[0,1)7=[0,1)8=[0,1)9=[0,1)"},
    {"(a*)?b", "aab", "0=[0,3)1=[0,2)"},
    {"(a?)?b", "b", "0=[0,1)1=[0,0)"},
    // Sets.
    {"[]a]+", "x]a]", "0=[1,4)"},
    {"[^]a]", "]ab", "0=[2,3)"},
    {"[a-]+", "b-a", "0=[1,3)"},
    {"[-a]+", "b-a", "0=[1,3)"},
    {"[^-a]", "-ab", "0=[2,3)"},
    {"[a^]", "^", "0=[0,1)"},
    {"[^^]", "^a", "0=[1,2)"},
    {"[a-c-e]+", "xabcdef", "0=[1,6)"},
    {"[]-a]+", "\\]^_`ab", "0=[1,6)"},
    {"[--/]+", ",-./0", "0=[1,4)"},
    {"[+--]+", "*+,-.", "0=[1,4)"},
    {"[a-a]", "a", "0=[0,1)"},
    {"[\\]", "\\", "0=[0,1)"},
    {"[\\]]", "\\]", "0=[0,2)"},
    {"[.*$(|]+", "a.*$(|", "0=[1,6)"},
    {"a[^b]", "a", nullptr},
    {"a[^b]", "ac", "0=[0,2)"},
    // Bytes are unsigned.
    {"[\x7f-\xff]+", "a\x80\xff", "0=[1,3)"},
    {"[^a-z]+", "a\xe4z", "0=[1,2)"},
    {"\xe4*b",
     "a\xe4\xe4"
     "b",
     "0=[1,4)"},
    // Escapes and ordinary characters.
    {"\\*", "a*", "0=[1,2)"},
    {"\\**", "**", "0=[0,2)"},
    {"a\\.b", "axb a.b", "0=[4,7)"},
    {"\\a", "a", "0=[0,1)"},
    {"\\(a\\)", "(a)", "0=[0,3)"},
    {"\\\\", "a\\", "0=[1,2)"},
    {"a]", "a]", "0=[0,2)"},
    {"a{2}", "aa a{2}", "0=[3,7)"},
    {"a-b", "a-b", "0=[0,3)"},
    {"a\\*b*", "a*bb", "0=[0,4)"},
};
INSTANTIATE_TEST_SUITE_P(Table, SearchTest, testing::ValuesIn(kCases));

TEST(SearchTextTest, WideCharactersAreOneEach) {
  EXPECT_TRUE(PatternMatch(u"^.$", u"\u20ac"));
  EXPECT_TRUE(PatternMatch(u"^[\u0430-\u044f]+$", u"\u043f\u0443\u0442\u044c"));
  EXPECT_FALSE(PatternMatch(u"[\u0430-\u044f]", u"\u0410"));
  EXPECT_TRUE(PatternMatch(u"^[^\u0430-\u044f]$", u"\u0410"));
  EXPECT_TRUE(PatternMatch(u"(\u20ac|a)*b", u"\u20aca\u20acb"));
  EXPECT_FALSE(PatternMatch(u"^(\u20ac|a)*b", u"\u20aca\u20adb"));
  // Not by the low byte.
  EXPECT_FALSE(PatternMatch(u"a", u"\u0161"));
  EXPECT_FALSE(PatternMatch(u"[a-z]", u"\u0161"));
  EXPECT_FALSE(PatternMatch(u"\u0161", u"a"));
}

TEST(SearchTextTest, WideCharactersMayBeginAMatchOfAlternatives) {
  EXPECT_TRUE(PatternMatch(u"\u20acx|by", u"..\u20acx"));
  EXPECT_TRUE(PatternMatch(u"(\u0430|b)+c", u"..\u0430bc"));
  EXPECT_TRUE(PatternMatch(u"[^a]x|b", u"a\u20acx"));
}

TEST(SearchTextTest, TextsMayHoldZeros) {
  Pattern pattern;
  ASSERT_TRUE(pattern.Compile("a[^x]b$"));
  EXPECT_TRUE(pattern.Search(std::string_view("..\0a\0b", 6)));
  EXPECT_FALSE(pattern.Search(std::string_view("..\0a\0b\0", 7)));
  Pattern set;
  ASSERT_TRUE(set.Compile("[abc]"));
  EXPECT_FALSE(set.Search(std::string_view("\0", 1)));
  EXPECT_FALSE(set.Search(std::string_view()));
}

TEST(SearchTextTest, PositionsStayWhenNothingIsFound) {
  Pattern pattern;
  ASSERT_TRUE(pattern.Compile("(a)b"));
  SubMatches positions{};
  positions.begin.fill(7);
  EXPECT_FALSE(pattern.Search("aac", &positions));
  EXPECT_EQ(positions.begin, (std::array<std::size_t, 10>{7, 7, 7, 7, 7, 7, 7, 7, 7, 7}));
}

// The longest row of pieces that a program holds.
TEST(SearchTextTest, TenThousandPieces) {
  const std::string pieces(10'000, '.');
  EXPECT_TRUE(PatternMatch(("^" + pieces + "$").c_str(), std::string(10'000, 'x').c_str()));
  EXPECT_FALSE(PatternMatch(("^" + pieces + "$").c_str(), std::string(9'999, 'x').c_str()));
}

TEST(SearchTextTest, ManyPiecesAndAlternatives) {
  std::string pieces = "^";
  std::string alternatives = "^(x";
  std::string text;
  for (int i = 0; i < 1000; ++i) {
    pieces += "a?b+[c]";
    alternatives += "|" + std::to_string(i);
    text += "bbc";
  }
  EXPECT_TRUE(PatternMatch((pieces + "$").c_str(), text.c_str()));
  EXPECT_FALSE(PatternMatch((pieces + "$").c_str(), (text + "c").c_str()));
  alternatives += ")$";
  EXPECT_TRUE(PatternMatch(alternatives.c_str(), "999"));
  EXPECT_TRUE(PatternMatch(alternatives.c_str(), "77"));
  EXPECT_FALSE(PatternMatch(alternatives.c_str(), "1000"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
