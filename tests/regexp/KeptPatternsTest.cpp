// Patterns that are kept compiled: the answers are those of a pattern compiled at each call.
#include "regexp/KeptPatterns.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "regexp/RegExpObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

using Kept = KeptPatterns<char>;

// How often a pattern has to be asked for until its answer comes from what is kept; 0 when that never happens.
int CallsUntilKept(Kept& kept, const std::string& pattern, const char* text) {
  for (int i = 1; i < 10; ++i) {
    if (kept.Search(pattern, text)) return i;
  }
  return 0;
}

TEST(KeptPatternsTest, WhatComesAgainIsKept) {
  Kept kept;
  EXPECT_EQ(CallsUntilKept(kept, "^/a/[0-9]+$", "/a/17"), 3);
  EXPECT_EQ(kept.Search("^/a/[0-9]+$", "/a/17"), true);
  EXPECT_EQ(kept.Search("^/a/[0-9]+$", "/a/x"), false);
  EXPECT_EQ(kept.Search(std::string_view("a\0b", 3), "a"), std::nullopt) << "another pattern";
}

TEST(KeptPatternsTest, WhatIsNoPatternOrVeryLongIsNot) {
  Kept kept;
  EXPECT_EQ(CallsUntilKept(kept, "(a", "a"), 0);
  EXPECT_EQ(CallsUntilKept(kept, std::string(Kept::kLongest, 'a'), "a"), 3);
  EXPECT_EQ(CallsUntilKept(kept, std::string(Kept::kLongest + 1, 'a'), "a"), 0);
}

TEST(KeptPatternsTest, PatternsThatComeOnceDriveNoneOut) {
  Kept kept;
  ASSERT_EQ(CallsUntilKept(kept, "stays", "it stays"), 3);
  for (int i = 0; i < 1000; ++i) kept.Search("once" + std::to_string(i), "it stays");
  EXPECT_EQ(kept.Search("stays", "it stays"), true);
}

TEST(KeptPatternsTest, MoreThanCanBeKept) {
  Kept kept;
  int kept_ones = 0;
  for (int round = 0; round < 20; ++round) {
    for (int i = 0; i < 100; ++i) {
      const std::string pattern = "^x" + std::to_string(i) + "$";
      for (int call = 0; call < 3; ++call) {
        const std::optional<bool> found = kept.Search(pattern, "x7");
        if (found) {
          EXPECT_EQ(*found, i == 7) << pattern;
          ++kept_ones;
        }
      }
    }
  }
  EXPECT_GT(kept_ones, 1000);
}

class KeptByObjectTest : public testing::Test {
 protected:
  ~KeptByObjectTest() override { object_->Release(); }
  std::string LastError() const {
    const orv_test::PString text("old");
    EXPECT_TRUE(object_->GetLastErrorText(text.out()));
    return text.str();
  }

  IRegExp* const object_ = new CRegExp;
};

TEST_F(KeptByObjectTest, AChangedPatternIsObeyed) {
  std::string pattern = "^a[0-9]$";
  std::u16string wide(pattern.begin(), pattern.end());
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(object_->MatchNarrow("a1", pattern.c_str()));
    EXPECT_TRUE(object_->MatchWide(u"a1", wide.c_str()));
  }
  pattern[1] = 'b';  // In the same place.
  wide[1] = u'b';
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(object_->MatchNarrow("a1", pattern.c_str()));
    EXPECT_TRUE(object_->MatchNarrow("b1", pattern.c_str()));
    EXPECT_FALSE(object_->MatchWide(u"a1", wide.c_str()));
    EXPECT_TRUE(object_->MatchWide(u"b1", wide.c_str()));
  }
}

TEST_F(KeptByObjectTest, TheErrorIsThatOfTheCall) {
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(object_->MatchNarrow("a", "(a"));
    EXPECT_EQ(LastError(), "unmatched ()");
    EXPECT_FALSE(object_->MatchNarrow("a", "good"));
    EXPECT_EQ(LastError(), "");
    EXPECT_FALSE(object_->MatchNarrow(nullptr, "good"));
    EXPECT_EQ(LastError(), "NULL parameter");
    EXPECT_TRUE(object_->MatchNarrow("good", "good"));
    EXPECT_EQ(LastError(), "");
    EXPECT_FALSE(object_->MatchNarrow("good", nullptr));
    EXPECT_EQ(LastError(), "NULL argument");
    EXPECT_FALSE(object_->MatchWide(u"a", u"*"));
    EXPECT_EQ(LastError(), "?+* follows nothing");
  }
}

TEST_F(KeptByObjectTest, ManyThreadsAndPatterns) {
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      for (int i = 0; i < 2000; ++i) {
        const int number = (i / 3 * (thread % 3 + 1)) % 25;
        const std::string pattern = "^/(a|b)*/" + std::to_string(number) + "$";
        if (!object_->MatchNarrow(("/abba/" + std::to_string(number)).c_str(), pattern.c_str())) ++wrong;
        if (object_->MatchNarrow(("/abba/" + std::to_string(number + 1)).c_str(), pattern.c_str())) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
