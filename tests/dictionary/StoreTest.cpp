// Paths, entries and attributes of a dictionary.
#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

TEST(Store, EmptyComponentsOfAPathAreIgnored) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a//b/", "x"));
  for (const char* path : {"/a/b", "a/b", "a//b", "//a/b//"}) EXPECT_EQ(GetString(dictionary, path), "x") << path;
  EXPECT_EQ(GetPaths(dictionary, ""), (Names{"", "/a", "/a/b"}));
}

TEST(Store, TheEmptyPathNamesTheRoot) {
  CDictionary dictionary;
  EXPECT_FALSE(dictionary.Exists(""));
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  ASSERT_TRUE(dictionary.SetValue("/b", "x"));
  EXPECT_TRUE(dictionary.Exists(""));
  EXPECT_TRUE(dictionary.Exists("/"));
  EXPECT_EQ(GetEntries(dictionary, ""), (Names{"a", "b"}));
  EXPECT_EQ(GetEntries(dictionary, "/"), (Names{"a", "b"}));
  ASSERT_TRUE(dictionary.SetValue("", "root"));
  EXPECT_EQ(GetString(dictionary, "/"), "root");
}

TEST(Store, AWriteToAnInvalidPathCreatesNothing) {
  CDictionary dictionary;
  for (const char* path : {"/a b/c", "/a.b", "/ok/a b", "/ok/a:b", "a\\b", "/ok/\xC3\xA4", "/ok/a b/c"}) {
    EXPECT_FALSE(dictionary.SetValue(path, "x")) << path;
    EXPECT_FALSE(SetStrings(dictionary, path, {"x"})) << path;
    EXPECT_FALSE(dictionary.SetAttribute(path, "k", "x")) << path;
    EXPECT_FALSE(dictionary.Delete(path)) << path;
    EXPECT_FALSE(dictionary.Exists(path)) << path;
  }
  EXPECT_FALSE(dictionary.Exists("/"));
  EXPECT_EQ(dictionary.GetChangeCount(), 0u);
}

TEST(Store, AWriteCreatesWhatIsMissingOnTheWay) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/x/y/z", std::int32_t{1}));
  EXPECT_EQ(GetPaths(dictionary, "/"), (Names{"/", "//x", "//x/y", "//x/y/z"}));
  EXPECT_EQ(dictionary.GetValueType("/x"), ValueType::Nil);
  EXPECT_EQ(GetString(dictionary, "/x"), kFailed);
  EXPECT_FALSE(dictionary.HasAttribute("/x", "__type"));
}

TEST(Store, NamesDifferByCase) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/x", "1"));
  EXPECT_FALSE(dictionary.Exists("/X"));
  ASSERT_TRUE(dictionary.SetValue("/X", "2"));
  EXPECT_EQ(GetString(dictionary, "/x"), "1");
  EXPECT_EQ(GetEntries(dictionary, "/"), (Names{"x", "X"}));
}

TEST(Store, TheRootsNameInsideAPathIsAnOrdinaryComponent) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/IDictionaryRoot/a", "x"));
  EXPECT_EQ(GetEntries(dictionary, "/"), Names{"IDictionaryRoot"});
  EXPECT_FALSE(dictionary.Exists("/a"));
}

TEST(Store, DeletingTheRootEmptiesTheDictionary) {
  CDictionary dictionary;
  EXPECT_FALSE(dictionary.Delete("/"));
  ASSERT_TRUE(dictionary.SetValue("/a/b", "x"));
  EXPECT_TRUE(dictionary.Delete("/"));
  EXPECT_FALSE(dictionary.Exists("/"));
  EXPECT_FALSE(dictionary.Exists("/a"));
  ASSERT_TRUE(dictionary.SetValue("/c", "y"));
  EXPECT_EQ(GetEntries(dictionary, ""), Names{"c"});
}

TEST(Store, NothingIsFoundBelowADeletedEntry) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a/b/c", "x"));
  EXPECT_EQ(GetString(dictionary, "/a/b/c"), "x");
  EXPECT_TRUE(dictionary.Delete("/a/b"));
  EXPECT_EQ(GetString(dictionary, "/a/b/c"), kFailed);
  EXPECT_FALSE(dictionary.Delete("/a/b"));
  ASSERT_TRUE(dictionary.SetValue("/a/d/c", "y"));
  EXPECT_FALSE(dictionary.Exists("/a/b"));
  ASSERT_TRUE(dictionary.SetValue("/a/b", "z"));
  EXPECT_FALSE(dictionary.Exists("/a/b/c"));
  EXPECT_EQ(GetEntries(dictionary, "/a"), (Names{"d", "b"}));
}

TEST(Store, DeletingKeepsTheOrderOfTheOthers) {
  CDictionary dictionary;
  for (const char* path : {"/a", "/b", "/c", "/d"}) ASSERT_TRUE(dictionary.SetValue(path, "x"));
  EXPECT_TRUE(dictionary.Delete("/b"));
  EXPECT_EQ(GetEntries(dictionary, "/"), (Names{"a", "c", "d"}));
  EXPECT_TRUE(dictionary.Delete("/d"));
  EXPECT_TRUE(dictionary.Delete("/a"));
  EXPECT_EQ(GetEntries(dictionary, "/"), Names{"c"});
}

TEST(Store, ListingsLeaveOutTheHolderOfListItems) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/l/before", "x"));
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"a", "b"}));
  ASSERT_TRUE(dictionary.SetValue("/l/after", "x"));
  EXPECT_EQ(GetEntries(dictionary, "/l"), (Names{"before", "after"}));
  EXPECT_EQ(GetPaths(dictionary, "/l"), (Names{"/l", "/l/before", "/l/after"}));
  EXPECT_TRUE(dictionary.Exists("/l/__ListEntries/__item1"));
  EXPECT_EQ(GetEntries(dictionary, "/l/__ListEntries"), (Names{"__item0", "__item1"}));
}

TEST(Store, ListingsTellAMissingEntryFromOneWithoutChildren) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  EXPECT_EQ(GetEntries(dictionary, "/a"), Names());
  EXPECT_EQ(GetEntries(dictionary, "/b"), Names{kFailed});
  EXPECT_EQ(GetPaths(dictionary, "/a"), Names{"/a"});
  EXPECT_EQ(GetPaths(dictionary, "/b"), Names{kFailed});
}

TEST(Store, ListingsReplaceTheOutputOnSuccessOnly) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  const orv_test::PStringList names(Names{"old"});
  EXPECT_FALSE(dictionary.GetEntries("/b", names.out()));
  EXPECT_FALSE(dictionary.EnumeratePaths("/b", names.out()));
  EXPECT_EQ(names.vec(), Names{"old"});
  EXPECT_TRUE(dictionary.GetEntries("/", names.out()));
  EXPECT_EQ(names.vec(), Names{"a"});
  EXPECT_TRUE(dictionary.EnumeratePaths("a", names.out()));
  EXPECT_EQ(names.vec(), Names{"a"});
}

TEST(Store, EnumeratedPathsContinueThePathAsItWasGiven) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a/b/c", "x"));
  ASSERT_TRUE(dictionary.SetValue("/a/d", "x"));
  EXPECT_EQ(GetPaths(dictionary, ""), (Names{"", "/a", "/a/b", "/a/b/c", "/a/d"}));
  EXPECT_EQ(GetPaths(dictionary, "/"), (Names{"/", "//a", "//a/b", "//a/b/c", "//a/d"}));
  EXPECT_EQ(GetPaths(dictionary, "/a/"), (Names{"/a/", "/a//b", "/a//b/c", "/a//d"}));
  EXPECT_EQ(GetPaths(dictionary, "a/b"), (Names{"a/b", "a/b/c"}));
}

TEST(Attributes, AreSetReadAndTestedByName) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "it's"));
  EXPECT_EQ(GetAttribute(dictionary, "/a", "k"), "it's");
  EXPECT_EQ(GetAttribute(dictionary, "/a", "__type"), "str");
  EXPECT_TRUE(dictionary.HasAttribute("/a", "k"));
  EXPECT_FALSE(dictionary.HasAttribute("/a", "K"));
  EXPECT_EQ(GetAttribute(dictionary, "/a", "l"), kFailed);
  EXPECT_EQ(GetAttribute(dictionary, "/b", "k"), kFailed);
  EXPECT_EQ(GetString(dictionary, "/a"), "x");
}

TEST(Attributes, SettingOneMakesTheEntry) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetAttribute("/a/b", "k", ""));
  EXPECT_EQ(GetAttribute(dictionary, "/a/b", "k"), "");
  EXPECT_EQ(dictionary.GetValueType("/a/b"), ValueType::Nil);
}

TEST(Attributes, ANameThatCouldNotBeReadBackIsRefused) {
  CDictionary dictionary;
  for (const char* name : {"", "a b", "x=", "\"", "'", "a>", "a/"}) {
    EXPECT_FALSE(dictionary.SetAttribute("/a", name, "v")) << name;
  }
  EXPECT_FALSE(dictionary.Exists("/a"));
}

TEST(Attributes, SurviveASetOfTheValue) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "v"));
  ASSERT_TRUE(dictionary.SetValue("/a", std::int32_t{1}));
  ASSERT_TRUE(dictionary.SetValue("/a", true));
  ASSERT_TRUE(SetStrings(dictionary, "/a", {}));
  EXPECT_EQ(GetAttribute(dictionary, "/a", "k"), "v");
  EXPECT_EQ(GetAttribute(dictionary, "/a", "__type"), "strlist");
}

TEST(ChangeCount, ChangesWithEveryChange) {
  CDictionary dictionary;
  std::uint64_t last = dictionary.GetChangeCount();
  const auto changed = [&] { return std::exchange(last, dictionary.GetChangeCount()) != last; };
  EXPECT_FALSE(changed());
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  EXPECT_TRUE(changed());
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"x"}));
  EXPECT_TRUE(changed());
  ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "x"));
  EXPECT_TRUE(changed());
  ASSERT_TRUE(dictionary.Delete("/a"));
  EXPECT_TRUE(changed());
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot/>"));
  EXPECT_TRUE(changed());
  EXPECT_FALSE(LoadText(dictionary, "<"));
  EXPECT_TRUE(changed());
  GetPaths(dictionary, "/");
  GetString(dictionary, "/a");
  EXPECT_FALSE(changed());
}

TEST(ChangeCount, IsLeftByWhatFailsOrChangesNothing) {
  CDictionary dictionary;
  const orv_test::PStringList items(Names{"x", "y"});
  const orv_test::PString output;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  ASSERT_TRUE(dictionary.SetValue("/b", items.out()));
  ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "v"));
  ASSERT_TRUE(dictionary.SetAttribute("/empty", "k", "v"));
  ASSERT_TRUE(dictionary.RemoveAttribute("/empty", "k"));
  ASSERT_TRUE(dictionary.SaveToText(output.out()));
  const std::uint64_t before = dictionary.GetChangeCount();
  const std::vector<std::pair<const char*, std::function<bool()>>> nothings = {
      {"same text", [&] { return dictionary.SetValue("/a", "x"); }},
      {"same list", [&] { return dictionary.SetValue("/b", items.out()); }},
      {"same attribute", [&] { return dictionary.SetAttribute("/a", "k", "v"); }},
      {"same name", [&] { return dictionary.Rename("/a", "a"); }},
      {"onto itself", [&] { return dictionary.CopySubtree("/a", "/a"); }},
      {"moved onto itself", [&] { return dictionary.MoveSubtree("/a", "/a"); }},
      {"cleared", [&] { return dictionary.Clear("/empty"); }},
      {"saved", [&] { return dictionary.SaveToText(output.out()); }},
  };
  for (const auto& [what, nothing] : nothings) {
    EXPECT_TRUE(nothing()) << what;
    EXPECT_EQ(dictionary.GetChangeCount(), before) << what;
  }
  const std::vector<std::pair<const char*, std::function<bool()>>> failures = {
      {"set", [&] { return dictionary.SetValue("/a b", "y"); }},
      {"deleted", [&] { return dictionary.Delete("/missing"); }},
      {"cleared", [&] { return dictionary.Clear("/missing"); }},
      {"renamed", [&] { return dictionary.Rename("/missing", "x"); }},
      {"renamed to a sibling", [&] { return dictionary.Rename("/a", "b"); }},
      {"attribute", [&] { return dictionary.RemoveAttribute("/a", "x"); }},
      {"redirection", [&] { return dictionary.RemoveRedirection("/a"); }},
      {"copied", [&] { return dictionary.CopySubtree("/missing", "/x"); }},
      {"moved", [&] { return dictionary.MoveSubtree("/missing", "/x"); }},
      {"merged", [&] { return dictionary.MergeSubtree(&dictionary, "/missing", "/x"); }},
      {"loaded", [&] { return dictionary.LoadSubtree("/a", "no file system"); }},
  };
  for (const auto& [what, failure] : failures) {
    EXPECT_FALSE(failure()) << what;
    EXPECT_EQ(dictionary.GetChangeCount(), before) << what;
  }
  // The same items in other places are another content.
  ASSERT_TRUE(dictionary.SetValue("/b/c", "x"));
  const std::uint64_t changed = dictionary.GetChangeCount();
  ASSERT_TRUE(dictionary.SetValue("/b", items.out()));
  EXPECT_NE(dictionary.GetChangeCount(), changed);
}

TEST(ChangeCount, ChangesWithTheOperationsOnSubtreesToo) {
  CDictionary dictionary;
  const orv_test::PStringList targets(Names{"/a"});
  const orv_test::Stream stream;
  ASSERT_TRUE(dictionary.SetValue("/a/b", "x"));
  ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "v"));
  ASSERT_TRUE(dictionary.SaveSubtreeToStream("/a", stream.out()));
  const std::vector<std::pair<const char*, std::function<bool()>>> changes = {
      {"binary", [&] { return dictionary.SetBinary("/y", "x", 1); }},
      {"attribute removed", [&] { return dictionary.RemoveAttribute("/a", "k"); }},
      {"redirection", [&] { return dictionary.SetRedirection("/r", targets.out()); }},
      {"redirected", [&] { return dictionary.SetValue("/r", "x"); }},
      {"no redirection", [&] { return dictionary.RemoveRedirection("/r"); }},
      {"copied", [&] { return dictionary.CopySubtree("/a", "/c"); }},
      {"moved", [&] { return dictionary.MoveSubtree("/c", "/d"); }},
      {"merged", [&] { return dictionary.MergeSubtree(&dictionary, "/d", "/e"); }},
      {"renamed", [&] { return dictionary.Rename("/e", "f"); }},
      {"cleared", [&] { return dictionary.Clear("/f"); }},
      {"loaded below", [&] { return dictionary.LoadSubtreeFromStream("/f", stream.out()); }},
  };
  for (const auto& [what, change] : changes) {
    const std::uint64_t before = dictionary.GetChangeCount();
    EXPECT_TRUE(change()) << what;
    EXPECT_NE(dictionary.GetChangeCount(), before) << what;
  }
}

TEST(Store, NullArgumentsFail) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  const std::uint64_t changes = dictionary.GetChangeCount();
  const orv_test::PStringList names(Names{"old"});
  const orv_test::PString text;
  EXPECT_FALSE(dictionary.Exists(nullptr));
  EXPECT_FALSE(dictionary.Delete(nullptr));
  EXPECT_FALSE(dictionary.GetEntries(nullptr, names.out()));
  EXPECT_FALSE(dictionary.GetEntries("/", nullptr));
  EXPECT_FALSE(dictionary.EnumeratePaths(nullptr, names.out()));
  EXPECT_FALSE(dictionary.EnumeratePaths("/", nullptr));
  EXPECT_FALSE(dictionary.HasAttribute(nullptr, "k"));
  EXPECT_FALSE(dictionary.HasAttribute("/a", nullptr));
  EXPECT_FALSE(dictionary.GetAttribute(nullptr, "__type", text.out()));
  EXPECT_FALSE(dictionary.GetAttribute("/a", nullptr, text.out()));
  EXPECT_FALSE(dictionary.GetAttribute("/a", "__type", nullptr));
  EXPECT_FALSE(dictionary.SetAttribute(nullptr, "k", "v"));
  EXPECT_FALSE(dictionary.SetAttribute("/a", nullptr, "v"));
  EXPECT_FALSE(dictionary.SetAttribute("/a", "k", nullptr));
  EXPECT_FALSE(dictionary.SaveToText(nullptr));
  EXPECT_EQ(dictionary.GetValueType(nullptr), ValueType::Nil);
  EXPECT_EQ(names.vec(), Names{"old"});
  EXPECT_EQ(dictionary.GetChangeCount(), changes);
}

// Elements of many children are found through a table, which has to follow each change.
TEST(Store, AnElementWithManyChildrenBehavesLikeOneWithFew) {
  CDictionary dictionary;
  const auto path = [](int i) { return "/w/n" + std::to_string(i); };
  Names expected;
  for (int i = 0; i < 300; ++i) {
    ASSERT_TRUE(dictionary.SetValue(path(i).c_str(), std::int32_t{i}));
    EXPECT_TRUE(dictionary.Exists(path(i / 2).c_str()));
  }
  for (int i = 0; i < 300; ++i) {
    if (i % 3 == 0) {
      EXPECT_TRUE(dictionary.Delete(path(i).c_str()));
    } else {
      expected.push_back("n" + std::to_string(i));
    }
  }
  EXPECT_EQ(GetEntries(dictionary, "/w"), expected);
  for (int i = 0; i < 300; ++i) {
    std::int32_t value = -1;
    EXPECT_EQ(dictionary.GetValue(path(i).c_str(), &value), i % 3 != 0);
    EXPECT_EQ(value, i % 3 == 0 ? -1 : i);
  }
  for (int i = 0; i < 300; i += 3) ASSERT_TRUE(dictionary.SetValue(path(i).c_str(), std::int32_t{-i}));
  for (int i = 0; i < 300; i += 3) expected.push_back("n" + std::to_string(i));
  EXPECT_EQ(GetEntries(dictionary, "/w"), expected);
  EXPECT_TRUE(dictionary.Delete("/w"));
  EXPECT_FALSE(dictionary.Exists(path(1).c_str()));
}

// Operations in a row on one parent find it where the last one did.
TEST(Store, AParentThatWentIsNotFoundAgain) {
  CDictionary dictionary;
  const auto fill = [&] {
    ASSERT_TRUE(dictionary.SetValue("/a/b/c", "old"));
    ASSERT_EQ(GetString(dictionary, "/a/b/c"), "old");
  };
  const std::vector<std::pair<const char*, std::function<bool()>>> ways = {
      {"deleted", [&] { return dictionary.Delete("/a/b"); }},
      {"its parent deleted", [&] { return dictionary.Delete("/a"); }},
      {"the root deleted", [&] { return dictionary.Delete("/"); }},
      {"its parent cleared", [&] { return dictionary.Clear("/a"); }},
      {"renamed", [&] { return dictionary.Rename("/a/b", "d"); }},
      {"its parent renamed", [&] { return dictionary.Rename("/a", "d"); }},
      {"moved", [&] { return dictionary.MoveSubtree("/a/b", "/x/y"); }},
      {"replaced", [&] { return dictionary.SetValue("/e/f", "f") && dictionary.CopySubtree("/e", "/a"); }},
      {"another file loaded",
       [&] { return dictionary.LoadFromText("<IDictionaryRoot><a>1</a></IDictionaryRoot>", 43); }},
  };
  for (const auto& [how, way] : ways) {
    fill();
    ASSERT_TRUE(way()) << how;
    EXPECT_FALSE(dictionary.Exists("/a/b/c")) << how;
    EXPECT_FALSE(dictionary.Exists("/a/b/")) << how;
    ASSERT_TRUE(dictionary.SetValue("/a/b/n", "new")) << how;
    EXPECT_EQ(GetString(dictionary, "/a/b/n"), "new") << how;
    EXPECT_EQ(GetEntries(dictionary, "/a/b"), Names{"n"}) << how;
    ASSERT_TRUE(dictionary.Delete("/")) << how;
  }
}

// Setting a list makes the holder of its items anew.
TEST(Store, ItemsOfAListThatIsSetAgainAreNotFoundAgain) {
  CDictionary dictionary;
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"a", "b"}));
  ASSERT_TRUE(dictionary.SetValue("/l/__ListEntries/__item0/below", "x"));
  EXPECT_TRUE(dictionary.Exists("/l/__ListEntries/__item1"));
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"c"}));
  EXPECT_FALSE(dictionary.Exists("/l/__ListEntries/__item1"));
  EXPECT_FALSE(dictionary.Exists("/l/__ListEntries/__item0/below"));
  ASSERT_TRUE(dictionary.SetAttribute("/l/__ListEntries/__item1", "k", "v"));
  EXPECT_EQ(GetStrings(dictionary, "/l"), (Names{"c", ""}));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
