// The object "RegExp" and the runtime's function behind it.
#include "regexp/RegExpObject.h"

#include <gtest/gtest.h>

#include "OrvWorkFlow/WinUtils.h"
#include "tests/support/Marshalled.h"

namespace OrvWorkFlow {
namespace {

class RegExpObjectTest : public testing::Test {
 protected:
  ~RegExpObjectTest() override { object_->Release(); }

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

TEST_F(RegExpObjectTest, KeepsNoErrorOfThePattern) {
  EXPECT_FALSE(object_->MatchNarrow("a", "(a*)*"));
  const orv_test::PString text("old");
  EXPECT_TRUE(object_->GetLastErrorText(text.out()));
  EXPECT_EQ(text.str(), "");
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
}  // namespace OrvWorkFlow
