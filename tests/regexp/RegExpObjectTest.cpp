// The object "RegExp" and the runtime's function behind it.
#include "regexp/RegExpObject.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "OrvWorkFlow/WinUtils.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

class RegExpObjectTest : public testing::Test {
 protected:
  ~RegExpObjectTest() override { object_->Release(); }

  std::string LastError() const {
    const orv_test::PString text("old");
    EXPECT_TRUE(object_->GetLastErrorText(text.out()));
    return text.str();
  }

  IRegExp* const object_ = new CRegExp;
};

TEST_F(RegExpObjectTest, TakesTheTextFirst) {
  EXPECT_TRUE(object_->MatchNarrow("/a/17", "^/a/[0-9]+$"));
  EXPECT_FALSE(object_->MatchNarrow("^/a/[0-9]+$", "/a/17"));
  EXPECT_TRUE(object_->MatchWide(u"/\u20ac/17", u"^/./[0-9]+$"));
  EXPECT_FALSE(object_->MatchWide(u"^/./[0-9]+$", u"/\u20ac/17"));
}

TEST_F(RegExpObjectTest, NullIsNotFound) {
  EXPECT_FALSE(object_->MatchNarrow(nullptr, "a"));
  EXPECT_FALSE(object_->MatchNarrow("a", nullptr));
  EXPECT_FALSE(object_->MatchNarrow(nullptr, nullptr));
  EXPECT_FALSE(object_->MatchWide(nullptr, u"a"));
  EXPECT_FALSE(object_->MatchWide(u"a", nullptr));
  EXPECT_FALSE(object_->MatchWide(nullptr, nullptr));
}

TEST_F(RegExpObjectTest, RefusedPatternIsNotFound) {
  EXPECT_FALSE(object_->MatchNarrow("a", "(a*)*"));
  EXPECT_FALSE(object_->MatchWide(u"a", u"(a"));
}

TEST_F(RegExpObjectTest, TellsABadPatternFromNoMatch) {
  EXPECT_FALSE(object_->MatchNarrow("a", "(a*)*"));
  EXPECT_EQ(LastError(), "*+ operand could be empty");
  EXPECT_FALSE(object_->MatchWide(u"a", u"(a"));
  EXPECT_EQ(LastError(), "unmatched ()");
  EXPECT_FALSE(object_->MatchNarrow("a", "b"));
  EXPECT_EQ(LastError(), "") << "what is not found is no error";
  EXPECT_FALSE(object_->MatchNarrow("a", "b\\"));
  EXPECT_EQ(LastError(), "trailing \\");
  EXPECT_TRUE(object_->MatchWide(u"a", u"a"));
  EXPECT_EQ(LastError(), "");
}

TEST_F(RegExpObjectTest, NullHasAnError) {
  EXPECT_FALSE(object_->MatchNarrow("a", nullptr));
  EXPECT_EQ(LastError(), "NULL argument");
  EXPECT_FALSE(object_->MatchWide(nullptr, u"a"));
  EXPECT_EQ(LastError(), "NULL parameter");
  EXPECT_FALSE(object_->GetLastErrorText(nullptr));
}

TEST_F(RegExpObjectTest, TheLastErrorIsTheThreadsOwn) {
  EXPECT_FALSE(object_->MatchNarrow("a", "(a"));
  std::string of_another = "untouched";
  std::thread([&] {
    EXPECT_FALSE(object_->MatchNarrow("a", "[a"));
    of_another = LastError();
  }).join();
  EXPECT_EQ(of_another, "unmatched []");
  EXPECT_EQ(LastError(), "unmatched ()");
}

TEST_F(RegExpObjectTest, AnswersToItsInterfaceOnly) {
  EXPECT_EQ(object_->QueryInterface("IRegExp"), object_);
  EXPECT_EQ(object_->QueryInterface("RegExp"), nullptr);
  EXPECT_EQ(object_->QueryInterface(nullptr), nullptr);
}

TEST_F(RegExpObjectTest, StateSucceedsAndTheReservedOperationsDoNot) {
  EXPECT_TRUE(object_->LoadState("anywhere"));
  EXPECT_TRUE(object_->SaveState(nullptr));
  EXPECT_FALSE(object_->ReservedLoad("x"));
  EXPECT_FALSE(object_->ReservedSave("x"));
}

TEST(RegExpMatchTest, TakesThePatternFirst) {
  EXPECT_TRUE(WinUtils::RegExpMatch("^a+$", "aaa"));
  EXPECT_FALSE(WinUtils::RegExpMatch("aaa", "^a+$"));
  EXPECT_TRUE(WinUtils::RegExpMatch(u"^\u20ac+$", u"\u20ac\u20ac"));
  EXPECT_FALSE(WinUtils::RegExpMatch(u"\u20ac\u20ac", u"^\u20ac+$"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
