// The operations beside typed values: counting, finding, renaming, attributes, redirections, bytes.
#include <gtest/gtest.h>

#include <cstdint>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kRootOf[] = "<IDictionaryRoot>";

// A dictionary with what stands inside the root element.
class Operations : public ::testing::Test {
 protected:
  void Load(const std::string& content) {
    ASSERT_TRUE(LoadText(dictionary_, kRootOf + content + "</IDictionaryRoot>"));
  }
  std::string Content() {
    CDictionary copy;
    LoadText(copy, SaveText(dictionary_));
    std::string saved = SaveText(copy);
    saved = saved.substr(saved.find("2.0.0.0\">") + 9);
    std::string content;
    for (const char c : saved.substr(0, saved.rfind("</"))) {
      if (c != '\r' && c != '\n' && c != '\t') content += c;
    }
    return content;
  }
  std::size_t Count(const char* path, bool with_all_below) {
    std::size_t count = 999;
    const bool is_counted =
        with_all_below ? dictionary_.CountSubtree(path, &count) : dictionary_.CountEntries(path, &count);
    return is_counted || count != 999 ? count : 0;
  }

  CDictionary object_;
  IDictionary& dictionary_ = object_;
  const orv_test::PStringList list_{Names{"old"}};
};

TEST_F(Operations, CountingLeavesOutTheItemsOfLists) {
  Load("<a __type=\"strlist\"><__ListEntries><__item0>x</__item0></__ListEntries><b/><c><d/></c></a>");
  EXPECT_EQ(Count("/a", false), 2u);
  EXPECT_EQ(Count("/a", true), 4u);
  EXPECT_EQ(Count("/a/c/d", false), 0u);
  EXPECT_EQ(Count("/a/c/d", true), 1u);
  EXPECT_EQ(Count("", true), 5u);
  std::size_t count = 7;
  EXPECT_FALSE(dictionary_.CountEntries("/x", &count));
  EXPECT_FALSE(dictionary_.CountSubtree("/x", &count));
  EXPECT_FALSE(dictionary_.CountEntries("/a", nullptr));
  EXPECT_FALSE(dictionary_.CountSubtree("/a", nullptr));
  EXPECT_EQ(count, 7u);
}

TEST_F(Operations, FindingTakesThePathsThatThePatternIsIn) {
  Load("<a><b1/><b2><b1/></b2></a><b1/>");
  struct Case {
    const char* path;
    const char* pattern;
    Names found;
  };
  const Case cases[] = {
      {"", "b1$", {"/a/b1", "/a/b2/b1", "/b1"}},
      {"/a", "^/a/b[0-9]$", {"/a/b1", "/a/b2"}},
      {"/a/", "//b1", {"/a//b1"}},
      {"/a", "zz", {}},
      {"/a", nullptr, {"/a", "/a/b1", "/a/b2", "/a/b2/b1"}},
      {"/b1", "", {"/b1"}},
  };
  for (const Case& c : cases) {
    EXPECT_TRUE(dictionary_.FindPaths(c.path, c.pattern, list_.out()));
    EXPECT_EQ(list_.vec(), c.found) << c.path;
  }
  const Names before = list_.vec();
  EXPECT_FALSE(dictionary_.FindPaths("/a", "(", list_.out()));
  EXPECT_FALSE(dictionary_.FindPaths("/x", "a", list_.out()));
  EXPECT_FALSE(dictionary_.FindPaths(nullptr, "a", list_.out()));
  EXPECT_FALSE(dictionary_.FindPaths("/a", "a", nullptr));
  EXPECT_EQ(list_.vec(), before);
}

TEST_F(Operations, RenamingMovesTheEntryBehindItsSiblings) {
  Load("<a __type=\"int\" k=\"v\">5<x/></a><b/>");
  EXPECT_TRUE(dictionary_.Rename("/a", "c"));
  EXPECT_EQ(Content(), "<b></b><c __type=\"int\" k=\"v\">5<x></x></c>");
  EXPECT_TRUE(dictionary_.Rename("/b", "b"));
  const std::string before = Content();
  for (const char* name : {"c", "", "/", "x/y", "/x", "a b", "a.b"}) {
    EXPECT_FALSE(dictionary_.Rename("/b", name)) << name;
  }
  EXPECT_FALSE(dictionary_.Rename("/b", nullptr));
  EXPECT_FALSE(dictionary_.Rename(static_cast<const char*>(nullptr), "x"));
  EXPECT_FALSE(dictionary_.Rename("/missing", "x"));
  EXPECT_FALSE(dictionary_.Rename("/", "x"));
  EXPECT_FALSE(dictionary_.Rename("/a b", "x"));
  EXPECT_EQ(Content(), before);
}

TEST_F(Operations, ClearingLeavesTheEntryInItsPlace) {
  Load("<a __type=\"int\" k=\"v\">5<x><y/></x></a><b/>");
  EXPECT_TRUE(dictionary_.Clear("/a"));
  EXPECT_EQ(Content(), "<a></a><b></b>");
  EXPECT_FALSE(dictionary_.Clear("/missing"));
  EXPECT_FALSE(dictionary_.Clear("/a b"));
  EXPECT_FALSE(dictionary_.Clear(static_cast<const char*>(nullptr)));
  EXPECT_TRUE(dictionary_.Clear("/"));
  EXPECT_EQ(Content(), "");
  EXPECT_TRUE(dictionary_.Exists("/"));
}

TEST_F(Operations, AttributesAreListedAndRemovedByName) {
  Load("<a __type=\"int\" k='v' l=\"w\" k=\"second\">5</a>");
  EXPECT_TRUE(dictionary_.GetAttributeNames("/a", list_.out()));
  EXPECT_EQ(list_.vec(), (Names{"__type", "k", "l", "k"}));
  EXPECT_TRUE(dictionary_.RemoveAttribute("/a", "k"));
  EXPECT_EQ(GetAttribute(dictionary_, "/a", "k"), "second");
  EXPECT_TRUE(dictionary_.RemoveAttribute("/a", "__type"));
  EXPECT_EQ(dictionary_.GetValueType("/a"), ValueType::Nil);
  EXPECT_FALSE(dictionary_.RemoveAttribute("/a", "missing"));
  EXPECT_FALSE(dictionary_.RemoveAttribute("/missing", "k"));
  EXPECT_FALSE(dictionary_.RemoveAttribute("/a", nullptr));
  EXPECT_FALSE(dictionary_.GetAttributeNames("/missing", list_.out()));
  EXPECT_FALSE(dictionary_.GetAttributeNames("/a", nullptr));
  EXPECT_EQ(list_.vec().size(), 4u);
  EXPECT_EQ(Content(), "<a l=\"w\" k=\"second\">5</a>");
}

TEST_F(Operations, TheFileVersionIsTheRoots) {
  const orv_test::PString version;
  EXPECT_FALSE(dictionary_.GetFileVersion(version.out()));
  ASSERT_TRUE(LoadText(dictionary_, "<IDictionaryRoot IDictionaryFileVersion=\"1.5\"></IDictionaryRoot>"));
  EXPECT_TRUE(dictionary_.GetFileVersion(version.out()));
  EXPECT_EQ(version.str(), "1.5");
  SaveText(dictionary_);
  EXPECT_TRUE(dictionary_.GetFileVersion(version.out()));
  EXPECT_EQ(version.str(), "2.0.0.0");
  EXPECT_FALSE(dictionary_.GetFileVersion(nullptr));
}

TEST_F(Operations, ARedirectionGetsNewTargetsWithoutBeingFollowed) {
  ASSERT_TRUE(dictionary_.SetValue("/t", "x"));
  const orv_test::PStringList first(Names{"/t"});
  const orv_test::PStringList second(Names{"/u", "/t"});
  ASSERT_TRUE(dictionary_.SetRedirection("/new/r", first.out()));
  ASSERT_TRUE(dictionary_.SetRedirection("/new/r", second.out()));
  EXPECT_TRUE(dictionary_.GetValueTexts("/new/r", list_.out()));
  EXPECT_EQ(list_.vec(), (Names{"/u", "/t"}));
  EXPECT_EQ(GetString(dictionary_, "/new/r"), "x");
  EXPECT_TRUE(dictionary_.IsRedirection("/new/r"));
  EXPECT_FALSE(dictionary_.IsRedirection("/t"));
  EXPECT_FALSE(dictionary_.IsRedirection("/missing"));
  EXPECT_FALSE(dictionary_.SetRedirection("/a b", first.out()));
  EXPECT_FALSE(dictionary_.SetRedirection("/r", nullptr));
  EXPECT_FALSE(dictionary_.Exists("/r"));
  EXPECT_TRUE(dictionary_.RemoveRedirection("/new/r"));
  EXPECT_FALSE(dictionary_.RemoveRedirection("/new/r"));
  EXPECT_FALSE(dictionary_.RemoveRedirection("/missing"));
  EXPECT_EQ(GetStrings(dictionary_, "/new/r"), (Names{"/u", "/t"}));
}

TEST_F(Operations, BytesAreBase64Text) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const orv_test::Stream bytes("old");
  for (const std::string& value : {std::string(), std::string("a"), std::string("\0\0", 2), std::string("abc"), all}) {
    ASSERT_TRUE(dictionary_.SetBinary("/y", value.data(), value.size()));
    EXPECT_TRUE(dictionary_.GetBinary("/y", bytes.out()));
    EXPECT_EQ(bytes.bytes(), value);
  }
  ASSERT_TRUE(dictionary_.SetBinary("/y", "Hello", 5));
  EXPECT_EQ(Content(), "<y __type=\"Binary\">SGVsbG8=</y>");
  EXPECT_TRUE(dictionary_.SetBinary("/empty", nullptr, 0));
  EXPECT_FALSE(dictionary_.SetBinary("/z", nullptr, 1));
  EXPECT_FALSE(dictionary_.SetBinary("/a b", "x", 1));
  EXPECT_FALSE(dictionary_.SetBinary(static_cast<const char*>(nullptr), "x", 1));
  EXPECT_FALSE(dictionary_.GetBinary("/y", nullptr));
  EXPECT_FALSE(dictionary_.GetBinary("/missing", bytes.out()));
  ASSERT_TRUE(dictionary_.SetValue("/s", "SGVsbG8="));
  EXPECT_FALSE(dictionary_.GetBinary("/s", bytes.out()));
  EXPECT_EQ(bytes.bytes(), all);
}

TEST_F(Operations, BytesEditedByHandAreReadIfTheyAreBase64) {
  const orv_test::Stream bytes("old");
  const std::pair<const char*, const char*> cases[] = {{"SGVsbG8=", "Hello"},  {" SGVs\r\n bG8= ", "Hello"},
                                                       {"SGVsbG8", "Hello"},   {"", ""},
                                                       {"SGVs!bG8=", nullptr}, {"a<b", nullptr}};
  for (const auto& [text, expected] : cases) {
    CDictionary dictionary;
    ASSERT_TRUE(dictionary.SetValue("/y", text));
    ASSERT_TRUE(dictionary.SetAttribute("/y", "__type", "Binary"));
    EXPECT_EQ(dictionary.GetBinary("/y", bytes.out()), expected != nullptr) << text;
    if (expected == nullptr) continue;
    EXPECT_EQ(bytes.bytes(), expected);
  }
}

TEST_F(Operations, BinaryValuesFollowRedirections) {
  const orv_test::PStringList targets(Names{"/t"});
  ASSERT_TRUE(dictionary_.SetRedirection("/r", targets.out()));
  ASSERT_TRUE(dictionary_.SetBinary("/r", "x", 1));
  EXPECT_EQ(dictionary_.GetValueType("/t"), ValueType::Binary);
  const orv_test::Stream bytes;
  EXPECT_TRUE(dictionary_.GetBinary("/r", bytes.out()));
  EXPECT_EQ(bytes.bytes(), "x");
}

TEST_F(Operations, ValueTextsAreThoseOfEveryType) {
  const orv_test::DoubleList doubles({0.5, -1});
  const orv_test::IntList none;
  ASSERT_TRUE(dictionary_.SetValue("/i", -5));
  ASSERT_TRUE(dictionary_.SetValue("/b", true));
  ASSERT_TRUE(dictionary_.SetValue("/w", u"\u00E4"));
  ASSERT_TRUE(dictionary_.SetValue("/ld", doubles.out()));
  ASSERT_TRUE(dictionary_.SetValue("/none", none.out()));
  ASSERT_TRUE(dictionary_.SetBinary("/y", "Hello", 5));
  ASSERT_TRUE(dictionary_.SetAttribute("/nil", "k", "v"));
  const std::pair<const char*, Names> cases[] = {{"/i", {"-5"}},       {"/b", {"1"}},
                                                 {"/w", {"\xC3\xA4"}}, {"/ld", {"0.500000", "-1.000000"}},
                                                 {"/none", {}},        {"/y", {"SGVsbG8="}}};
  for (const auto& [path, texts] : cases) {
    EXPECT_TRUE(dictionary_.GetValueTexts(path, list_.out()));
    EXPECT_EQ(list_.vec(), texts) << path;
  }
  for (const char* path : {"/nil", "/missing", static_cast<const char*>(nullptr)}) {
    EXPECT_FALSE(dictionary_.GetValueTexts(path, list_.out()));
  }
  EXPECT_FALSE(dictionary_.GetValueTexts("/i", nullptr));
  EXPECT_EQ(list_.vec(), Names{"SGVsbG8="});
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
