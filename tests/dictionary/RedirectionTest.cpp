// Entries that stand for others.
#include <gtest/gtest.h>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

void Redirect(IDictionary& dictionary, const char* path, const Names& targets) {
  ASSERT_TRUE(SetStrings(dictionary, path, targets));
  ASSERT_TRUE(dictionary.SetAttribute(path, "_isRedirection", "1"));
}

TEST(Redirection, AReadTakesTheFirstTargetWithAValueOfTheType) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/b", "text"));
  ASSERT_TRUE(dictionary.SetValue("/c", std::int32_t{3}));
  ASSERT_TRUE(dictionary.SetValue("/d", std::int32_t{4}));
  Redirect(dictionary, "/r", {"/a", "/b", "/c", "/d"});
  std::int32_t value = 0;
  EXPECT_TRUE(dictionary.GetValue("/r", &value));
  EXPECT_EQ(value, 3);
  EXPECT_EQ(GetString(dictionary, "/r"), "text");
  EXPECT_EQ(GetStrings(dictionary, "/r"), Names{kFailed});
  EXPECT_EQ(dictionary.GetValueType("/r"), ValueType::StringList);
}

TEST(Redirection, AWriteGoesToTheFirstTargetThatExists) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/b", "old"));
  Redirect(dictionary, "/r", {"/a", "/b"});
  ASSERT_TRUE(dictionary.SetValue("/r", std::int32_t{5}));
  EXPECT_FALSE(dictionary.Exists("/a"));
  EXPECT_EQ(dictionary.GetValueType("/b"), ValueType::Integer);
  ASSERT_TRUE(SetStrings(dictionary, "/r", {"x", "y"}));
  EXPECT_EQ(GetStrings(dictionary, "/b"), (Names{"x", "y"}));
  EXPECT_EQ(GetStrings(dictionary, "/r"), (Names{"x", "y"}));
}

TEST(Redirection, AWriteWithoutAnExistingTargetMakesTheFirst) {
  CDictionary dictionary;
  Redirect(dictionary, "/r", {"/new/a", "/b"});
  ASSERT_TRUE(dictionary.SetValue("/r", "x"));
  EXPECT_EQ(GetString(dictionary, "/new/a"), "x");
  EXPECT_FALSE(dictionary.Exists("/b"));
}

TEST(Redirection, AWriteToATargetThatIsNoValidPathFails) {
  CDictionary dictionary;
  Redirect(dictionary, "/r", {"/a b"});
  EXPECT_FALSE(dictionary.SetValue("/r", "x"));
  EXPECT_FALSE(dictionary.Exists("/a b"));
}

// An entry of a file may have a name that no path may be written by.
TEST(Redirection, ATargetWithAnOddNameIsReadAndNotWritten) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a.b __type=\"str\">old</a.b></IDictionaryRoot>"));
  Redirect(dictionary, "/r", {"/a.b", "/c"});
  EXPECT_EQ(GetString(dictionary, "/r"), "old");
  EXPECT_FALSE(dictionary.SetValue("/r", "new"));
  EXPECT_FALSE(SetStrings(dictionary, "/r", {"new"}));
  EXPECT_EQ(GetString(dictionary, "/a.b"), "old");
  EXPECT_FALSE(dictionary.Exists("/c"));
}

TEST(Redirection, WithoutTargetsNothingIsReadOrWritten) {
  CDictionary dictionary;
  Redirect(dictionary, "/r", {});
  EXPECT_FALSE(dictionary.SetValue("/r", "x"));
  EXPECT_EQ(GetString(dictionary, "/r"), kFailed);
  ASSERT_TRUE(dictionary.SetValue("/s", "not a list"));
  ASSERT_TRUE(dictionary.SetAttribute("/s", "_isRedirection", "1"));
  EXPECT_EQ(GetString(dictionary, "/s"), kFailed);
  EXPECT_FALSE(dictionary.SetValue("/s", "x"));
}

TEST(Redirection, TheMarkCountsByItsNumber) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  Redirect(dictionary, "/r", {"/a"});
  for (const char* mark : {"0", "", "yes", "00"}) {
    ASSERT_TRUE(dictionary.SetAttribute("/r", "_isRedirection", mark));
    EXPECT_EQ(GetStrings(dictionary, "/r"), Names{"/a"}) << mark;
  }
  for (const char* mark : {"1", "-1", " 2x"}) {
    ASSERT_TRUE(dictionary.SetAttribute("/r", "_isRedirection", mark));
    EXPECT_EQ(GetString(dictionary, "/r"), "x") << mark;
  }
}

// A chain r0 -> r1 -> ... of that many redirections, the last of which leads to "/end".
void MakeChain(IDictionary& dictionary, int length) {
  for (int i = 0; i < length; ++i) {
    const std::string next = i + 1 == length ? "/end" : "/r" + std::to_string(i + 1);
    Redirect(dictionary, ("/r" + std::to_string(i)).c_str(), {next});
  }
}

TEST(Redirection, SixteenAreFollowedAndNotSeventeen) {
  CDictionary longest;
  MakeChain(longest, 16);
  EXPECT_TRUE(longest.SetValue("/r0", "x"));
  EXPECT_EQ(GetString(longest, "/end"), "x");
  EXPECT_EQ(GetString(longest, "/r0"), "x");
  CDictionary too_long;
  MakeChain(too_long, 17);
  EXPECT_FALSE(too_long.SetValue("/r0", "x"));
  EXPECT_FALSE(too_long.Exists("/end"));
  ASSERT_TRUE(too_long.SetValue("/end", "x"));
  EXPECT_EQ(GetString(too_long, "/r0"), kFailed);
  EXPECT_EQ(GetString(too_long, "/r1"), "x");
}

TEST(Redirection, OneThatLeadsToItselfFails) {
  CDictionary dictionary;
  Redirect(dictionary, "/r", {"/r"});
  Redirect(dictionary, "/s", {"/s", "/s", "/t"});
  ASSERT_TRUE(dictionary.SetValue("/t", "x"));
  EXPECT_FALSE(dictionary.SetValue("/r", "x"));
  EXPECT_EQ(GetString(dictionary, "/r"), kFailed);
  EXPECT_EQ(GetString(dictionary, "/s"), kFailed);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
