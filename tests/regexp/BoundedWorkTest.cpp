// Long texts and patterns on which plain backtracking takes exponential or quadratic time, or a deep stack. Each of
// these would not end, or overflow the stack, with a matcher that recurses or forgets: that they end is the test.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "regexp/Pattern.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

std::string Repeated(const std::string& piece, std::size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  for (std::size_t i = 0; i < count; ++i) text += piece;
  return text;
}

constexpr std::size_t kLong = 100'000;

// Both with and without positions; wide as well.
void ExpectResult(const std::string& pattern, const std::string& text, bool expected) {
  Pattern narrow;
  ASSERT_TRUE(narrow.Compile(pattern.c_str()));
  EXPECT_EQ(narrow.Search(text), expected) << pattern;
  SubMatches positions{};
  EXPECT_EQ(narrow.Search(text, &positions), expected) << pattern;
  WidePattern wide;
  ASSERT_TRUE(wide.Compile(std::u16string(pattern.begin(), pattern.end()).c_str()));
  EXPECT_EQ(wide.Search(std::u16string(text.begin(), text.end())), expected) << pattern;
}

TEST(BoundedWorkTest, ExponentialPatterns) {
  const std::string many_a(200, 'a');
  ExpectResult("(a+)+$", many_a + "b", false);
  ExpectResult("(a+)+[bc]$", many_a, false);
  ExpectResult("(a|aa)+$", many_a + "b", false);
  ExpectResult("((a+)+)+[bc]", many_a, false);
  ExpectResult("^(a|a)*(a|a)*$", many_a + "b", false);
  ExpectResult("(((a?a)?a)?a)+$", many_a + "b", false);
  ExpectResult("(x+x+)+y", Repeated("x", 200), false);
  ExpectResult(Repeated("a?", 100) + Repeated("a", 100), std::string(100, 'a'), true);
  ExpectResult(Repeated("a*", 100) + "b$", std::string(300, 'a') + "c", false);
}

TEST(BoundedWorkTest, LongTextsThatAreFound) {
  const std::string text = Repeated("ab", kLong / 2);
  ExpectResult("(a|b)*c", text + "c", true);
  ExpectResult("^(ab|ba)*c$", text + "c", true);
  ExpectResult("^((a|b)(b|a))*$", text, true);
  ExpectResult("^.*.*.*b$", text, true);
}

TEST(BoundedWorkTest, LongTextsThatAreNotFound) {
  const std::string text = Repeated("ab", kLong / 2) + "cx";
  ExpectResult("(a|b)*c$", text, false);
  ExpectResult("(ab|ba)*c$", text, false);
  ExpectResult("(a|b)*(b|a)*c$", text, false);
  ExpectResult("((a|b)(b|a))*c$", text, false);
  ExpectResult("[ab]*[a-c]*[b-d]+$", text, false);
  ExpectResult("a.*b.*a.*c$", text, false);
}

TEST(BoundedWorkTest, MissingRequiredTextIsNoticedAtOnce) {
  const std::string text = Repeated("ab", kLong * 5);
  ExpectResult("(a|ab)(c|bcd)*(a|b)*xyz", text, false);
  ExpectResult("(ab|ba)*c", text, false);
}

TEST(BoundedWorkTest, AMillionCharacters) {
  const std::string text = Repeated("abba", 250'000);
  Pattern words;
  ASSERT_TRUE(words.Compile("^(ab|ba)+$"));
  EXPECT_TRUE(words.Search(text));
  SubMatches positions{};
  EXPECT_TRUE(words.Search(text, &positions));
  EXPECT_EQ(positions.begin[1], text.size() - 2);
  EXPECT_EQ(positions.end[0], text.size());
  Pattern letters;
  ASSERT_TRUE(letters.Compile("^(a|b)*c"));
  EXPECT_TRUE(letters.Search(text + "c"));
}

// The steps of the search grow with the text, not with its square: eight times the text may take at most forty times as
// long (a square would take sixty-four times), the best of some runs counting.
TEST(BoundedWorkTest, TimeIsLinear) {
  Pattern pattern;
  ASSERT_TRUE(pattern.Compile("(ab|ba|b)*c$"));
  const auto best_time = [&pattern](std::size_t pieces) {
    const std::string text = Repeated("ab", pieces) + "cx";
    auto best = std::chrono::steady_clock::duration::max();
    for (int run = 0; run < 5; ++run) {
      const auto start = std::chrono::steady_clock::now();
      EXPECT_FALSE(pattern.Search(text));
      best = std::min(best, std::chrono::steady_clock::now() - start);
    }
    return best;
  };
  const auto small = best_time(2'500);
  EXPECT_LT(best_time(20'000), small * 40);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
