// Copying, moving, comparing and merging of subtrees, within one dictionary and between two.
#include <gtest/gtest.h>

#include <memory>

#include "DictionaryTesting.h"
#include "FakeFiles.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "dictionary/object/DictionaryObject.h"
#include "dictionary/tree/Subtree.h"
#include "encryption/EncryptionObject.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/fakes/ScriptedWorkNode.h"
#include "tests/support/MarshalledTexts.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};
using OwnedDictionary = std::unique_ptr<IDictionary, Releaser>;

// What the dictionary holds, as a dump of its tree.
std::string DumpOf(IDictionary& dictionary) {
  ElementTree tree;
  LoadTree(tree, SaveText(dictionary));
  if (tree.root() != kNoElement) tree.SetAttributes(tree.root(), std::string_view());
  return Dump(tree);
}

std::string Loaded(const std::string& content) { return "<IDictionaryRoot>" + content + "</IDictionaryRoot>"; }

TEST(Subtrees, OfTwoEqualAttributesTheFirstIsMergedAsItIsRead) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, Loaded("<a k=\"1\" k=\"2\"/><b x=\"0\"/>")));
  EXPECT_EQ(GetAttribute(dictionary, "/a", "k"), "1");
  ASSERT_TRUE(dictionary.MergeSubtree(&dictionary, "/a", "/b"));
  EXPECT_EQ(GetAttribute(dictionary, "/b", "k"), "1");
  EXPECT_EQ(GetAttribute(dictionary, "/b", "x"), "0");
}

TEST(Subtrees, AreCopiedFromAnotherDictionary) {
  CDictionary source;
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(source, Loaded("<a k=\"v\">t<b/></a>")));
  ASSERT_TRUE(LoadText(dictionary, Loaded("<x>1<y/></x><z/>")));
  EXPECT_TRUE(dictionary.CopySubtreeFrom(&source, "/a", "/x"));
  EXPECT_EQ(DumpOf(dictionary), "IDictionaryRoot(x[k=\"v\"]'t'(b) z)");
  EXPECT_EQ(DumpOf(source), "IDictionaryRoot(a[k=\"v\"]'t'(b))");
  EXPECT_TRUE(dictionary.CopySubtreeFrom(&dictionary, "/x/b", "/z"));
  const std::string before = DumpOf(dictionary);
  const std::uint64_t changes = dictionary.GetChangeCount();
  EXPECT_FALSE(dictionary.CopySubtreeFrom(&source, "/missing", "/x"));
  EXPECT_FALSE(dictionary.CopySubtreeFrom(&source, "/a", "/x y"));
  EXPECT_FALSE(dictionary.CopySubtreeFrom(&source, nullptr, "/x"));
  EXPECT_FALSE(dictionary.CopySubtreeFrom(&source, "/a", nullptr));
  EXPECT_FALSE(dictionary.CopySubtreeFrom(nullptr, "/a", "/x"));
  EXPECT_EQ(dictionary.GetChangeCount(), changes);
  EXPECT_EQ(DumpOf(dictionary), before);
}

struct Case {
  const char* content;
  const char* from;
  const char* to;
  const char* expected;  // Null: fails and changes nothing.
};

template <class Operation, std::size_t kCount>
void Check(const Case (&cases)[kCount], Operation operation) {
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.content) + " " + c.from + " " + c.to);
    CDictionary dictionary;
    ASSERT_TRUE(LoadText(dictionary, Loaded(c.content)));
    const std::string before = DumpOf(dictionary);
    EXPECT_EQ(operation(dictionary, c.from, c.to), c.expected != nullptr);
    EXPECT_EQ(DumpOf(dictionary), c.expected == nullptr ? before : std::string("IDictionaryRoot") + c.expected);
  }
}

TEST(Subtrees, Copy) {
  const Case cases[] = {
      {"<a k=\"v\">t<b/></a>", "/a", "/c", "(a[k=\"v\"]'t'(b) c[k=\"v\"]'t'(b))"},
      {"<a>1</a>", "/a", "/x/y", "(a'1' x(y'1'))"},
      {"<a>1</a>", "/a//", "a", "(a'1')"},
      // The destination is replaced as a whole, in its place.
      {"<a>1<b/></a><c k=\"v\">2<d/></c><e/>", "/a", "/c", "(a'1'(b) c'1'(b) e)"},
      // One lies within the other.
      {"<a>1<b>2</b></a>", "/a", "/a/b", "(a'1'(b'1'(b'2')))"},
      {"<a>1<b>2</b></a>", "/a", "/a/b/c", "(a'1'(b'2'(c'1'(b'2'))))"},
      {"<a>1<b>2</b></a>", "/a/b", "/a", "(a'2')"},
      // The root.
      {"<a>1</a>", "/", "/c", "(a'1' c(a'1'))"},
      {"<a>1<b>2</b></a>", "/a", "", "'1'(b'2')"},
      {"<a/>", "/x", "/c", nullptr},
      {"<a/>", "/a", "/c d", nullptr},
      {"<a/>", "/a", "/c/d.e", nullptr},
      {"<a.b>1</a.b>", "/a.b", "/c", "(a.b'1' c'1')"},
  };
  Check(cases,
        [](IDictionary& dictionary, const char* from, const char* to) { return dictionary.CopySubtree(from, to); });
}

TEST(Subtrees, Move) {
  const Case cases[] = {
      {"<a k=\"v\">t<b/></a><z/>", "/a", "/c", "(z c[k=\"v\"]'t'(b))"},
      {"<a>1</a><z/>", "/a", "/x/y", "(z x(y'1'))"},
      {"<a>1</a>", "/a", "//a/", "(a'1')"},
      {"<a>1</a><c>2<d/></c><e/>", "/a", "/c", "(c'1' e)"},
      {"<a><b/></a><c/>", "/c", "/a", "(a)"},
      {"<a/><c/><e><f>1<g/></f></e>", "/e/f", "/c", "(a c'1'(g) e)"},
      {"<a/><c/><e><f>1</f></e>", "/a", "/e/f", "(c e(f))"},
      {"<a/><b/><c/>", "/b", "/c", "(a c)"},
      {"<a>1<b>2</b></a>", "/a/b", "/a", "(a'2')"},
      {"<a>1<b>2</b></a>", "/a/b", "/", "'2'"},
      {"<a>1<b>2</b></a>", "/a", "/a/b", nullptr},
      {"<a>1<b>2</b></a>", "/a", "/a/x/y", nullptr},
      {"<a>1</a>", "/", "/c", nullptr},
      {"<a>1</a>", "/", "", "(a'1')"},
      {"<a/>", "/x", "/c", nullptr},
      {"<a/>", "/a", "/c d", nullptr},
      {"<a.b/>", "/a.b", "/c", nullptr},
  };
  Check(cases,
        [](IDictionary& dictionary, const char* from, const char* to) { return dictionary.MoveSubtree(from, to); });
}

// The same, of entries that are moved among many others, and hold many.
TEST(Subtrees, MovedAmongManyChildren) {
  CDictionary dictionary;
  const auto path = [](const std::string& parent, int i) { return parent + "/n" + std::to_string(i); };
  for (const std::string parent : {"/a", "/a/n5", "/b"}) {
    for (int i = 0; i < 30; ++i) ASSERT_TRUE(dictionary.SetValue(path(parent, i).c_str(), parent.c_str()));
  }
  ASSERT_TRUE(dictionary.MoveSubtree("/a/n5", "/b/n7"));
  ASSERT_TRUE(dictionary.MoveSubtree("/a/n0", "/a/n29"));
  ASSERT_TRUE(dictionary.MoveSubtree("/b/n7/n3", "/b/n7/n2"));
  EXPECT_EQ(GetEntries(dictionary, "/a").size(), 28u);
  EXPECT_EQ(GetEntries(dictionary, "/b").size(), 30u);
  EXPECT_EQ(GetEntries(dictionary, "/b").at(7), "n7");
  EXPECT_FALSE(dictionary.Exists("/a/n5"));
  EXPECT_FALSE(dictionary.Exists("/a/n0"));
  EXPECT_FALSE(dictionary.Exists("/b/n7/n3"));
  ASSERT_TRUE(dictionary.SetValue("/a/n5", "new"));
  EXPECT_EQ(GetEntries(dictionary, "/a").back(), "n5");
  for (int i = 0; i < 30; ++i) {
    EXPECT_EQ(GetString(dictionary, path("/b", i).c_str()), i == 7 ? "/a" : "/b") << i;
    if (i != 3) {
      EXPECT_EQ(GetString(dictionary, path("/b/n7", i).c_str()), "/a/n5") << i;
    }
  }
}

// Elements of many children are found through a table, which has to follow.
TEST(Subtrees, MovedUpWithManyChildren) {
  CDictionary dictionary;
  const auto path = [](const std::string& parent, int i) { return parent + "/n" + std::to_string(i); };
  for (const std::string parent : {"/a", "/a/n5"}) {
    for (int i = 0; i < 30; ++i) ASSERT_TRUE(dictionary.SetValue(path(parent, i).c_str(), parent.c_str()));
  }
  ASSERT_TRUE(dictionary.MoveSubtree("/a/n5", "/a"));
  ASSERT_TRUE(dictionary.SetValue("/a/n30", "new"));
  ASSERT_TRUE(dictionary.Delete("/a/n7"));
  for (int i = 0; i < 30; ++i) {
    EXPECT_EQ(GetString(dictionary, path("/a", i).c_str()), i == 7 ? kFailed : "/a/n5") << i;
  }
  EXPECT_EQ(GetEntries(dictionary, "/a").size(), 30u);
  EXPECT_EQ(GetString(dictionary, "/a"), "/a");
  EXPECT_FALSE(dictionary.Exists("/a/n5/n1"));
}

TEST(Subtrees, Merge) {
  const Case cases[] = {
      {"<a __type=\"int\">1</a>", "/a", "/x/y", "(a[__type=\"int\"]'1' x(y[__type=\"int\"]'1'))"},
      // A value gives way to a value, whatever its type; what has none gives way to nothing.
      {"<a __type=\"int\">1</a><c __type=\"str\">x</c>", "/a", "/c", "(a[__type=\"int\"]'1' c[__type=\"int\"]'1')"},
      {"<a>text</a><c __type=\"str\">x</c>", "/a", "/c", "(a'text' c[__type=\"str\"]'x')"},
      {"<a __type=\"Nil\"/><c __type=\"str\">x</c>", "/a", "/c", "(a[__type=\"Nil\"] c[__type=\"str\"]'x')"},
      {"<a>text</a><c/>", "/a", "/c", "(a'text' c'text')"},
      {"<a __type=\"Binary\">AA==</a><c/>", "/a", "/c", "(a[__type=\"Binary\"]'AA==' c[__type=\"Binary\"]'AA==')"},
      // Attributes one by one, entries one by one.
      {"<a k=\"1\" l=\"2\"/><c m=\"3\" k=\"4\"/>", "/a", "/c", "(a[k=\"1\" l=\"2\"] c[m=\"3\" k=\"1\" l=\"2\"])"},
      {"<a><x>1</x><y/></a><c><z/><x>2<w/></x></c>", "/a", "/c", "(a(x'1' y) c(z x'1'(w) y))"},
      // A list as a whole.
      {"<a __type=\"intlist\"><__ListEntries><__item0>1</__item0></__ListEntries></a>"
       "<c __type=\"intlist\"><__ListEntries><__item0>7</__item0><__item1>8</__item1></__ListEntries></c>",
       "/a", "/c",
       "(a[__type=\"intlist\"](__ListEntries(__item0'1')) c[__type=\"intlist\"](__ListEntries(__item0'1')))"},
      {"<a><b>2</b></a>", "/a", "/a/b", "(a(b'2'(b'2')))"},
      {"<a>1<b>2<c/></b></a>", "/a/b", "/a", "(a'2'(b'2'(c) c))"},
      {"<a>1</a>", "/", "/c", "(a'1' c(a'1'))"},
      {"<a/>", "/x", "/c", nullptr},
      {"<a/>", "/a", "/c d", nullptr},
  };
  Check(cases, [](IDictionary& dictionary, const char* from, const char* to) {
    return dictionary.MergeSubtree(&dictionary, from, to);
  });
}

TEST(Subtrees, MergeFromAnotherDictionary) {
  CDictionary source;
  CDictionary target;
  ASSERT_TRUE(LoadText(source, Loaded("<a __type=\"str\">  x  <l __type=\"strlist\"/></a>")));
  ASSERT_TRUE(SetStrings(source, "/a/l", {"  y  "}));
  ASSERT_TRUE(target.SetValue("/c/old", 1));
  EXPECT_TRUE(target.MergeSubtree(&source, "/a", "/c"));
  EXPECT_EQ(GetString(target, "/c"), "  x  ");
  EXPECT_EQ(GetStrings(target, "/c/l"), Names{"  y  "});
  EXPECT_TRUE(target.Exists("/c/old"));
  EXPECT_FALSE(source.Exists("/c"));
  EXPECT_FALSE(target.MergeSubtree(nullptr, "/a", "/c"));
  EXPECT_FALSE(target.MergeSubtree(&source, nullptr, "/c"));
  EXPECT_FALSE(target.MergeSubtree(&source, "/a", nullptr));
}

// One that passes its calls on is as good as the dictionary behind it; one of another library is refused.
class OfAnotherLibrary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::ForwardingDictionary;
  void* GetObjectOf(const void*) override { return nullptr; }
};
class PassingOn final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::ForwardingDictionary;
};

TEST(Subtrees, ADictionaryOfAnotherLibraryIsRefused) {
  CDictionary source;
  CDictionary target;
  ASSERT_TRUE(source.SetValue("/a", 1));
  ASSERT_TRUE(target.SetValue("/a", 1));
  PassingOn near(&source);
  OfAnotherLibrary far(&source);
  const orv_test::PStringList differences(Names{"old"});
  EXPECT_FALSE(target.MergeSubtree(&far, "/a", "/c"));
  EXPECT_FALSE(target.CompareSubtrees("/a", &far, "/a", differences.out()));
  EXPECT_EQ(differences.vec(), Names{"old"});
  EXPECT_TRUE(target.MergeSubtree(&near, "/a", "/c"));
  EXPECT_TRUE(target.CompareSubtrees("/a", &near, "/a", differences.out()));
  EXPECT_EQ(differences.vec(), Names());
}

TEST(Subtrees, Compare) {
  struct Comparison {
    const char* content;
    Names differences;  // Of /a and /b.
  };
  const Comparison cases[] = {
      {"<a k=\"v\">t<c/><d/></a><b k='v'>t<d/><c/></b>", {}},
      {"<a k=\"1\" l=\"2\"/><b l=\"2\" k=\"1\"/>", {}},
      {"<a __type=\"Str\">x</a><b __type=\"str\">x</b>", {}},
      {"<a __type=\"int\">1</a><b __type=\"str\">1</b>", {""}},
      {"<a>1</a><b>2</b>", {""}},
      {"<a k=\"1\"/><b k=\"2\"/>", {""}},
      {"<a><c>1<d/></c><e/></a><b><c>2<x/></c><y><z/></y></b>", {"/y", "/c", "/c/x", "/c/d", "/e"}},
      // Items count by their numbers, and only where the value is a list.
      {"<a __type=\"intlist\"><__ListEntries><__item0>1</__item0><__item1>2</__item1></__ListEntries></a>"
       "<b __type=\"intlist\"><__ListEntries><__item1>2</__item1><__item0>1</__item0></__ListEntries></b>",
       {}},
      {"<a __type=\"intlist\"><__ListEntries><__item0>1</__item0></__ListEntries></a><b __type=\"intlist\"/>", {""}},
      {"<a __type=\"int\">1<__ListEntries><__item0>1</__item0></__ListEntries></a><b __type=\"int\">1</b>", {}},
  };
  for (const Comparison& c : cases) {
    CDictionary dictionary;
    ASSERT_TRUE(LoadText(dictionary, Loaded(c.content)));
    EXPECT_EQ(GetDifferences(dictionary, "/a", "/b"), c.differences) << c.content;
    EXPECT_EQ(GetDifferences(dictionary, "/a", "/a"), Names());
    CDictionary other;
    ASSERT_TRUE(LoadText(other, Loaded(c.content)));
    const orv_test::PStringList differences(Names{"old"});
    EXPECT_TRUE(dictionary.CompareSubtrees("/a", &other, "/b", differences.out()));
    EXPECT_EQ(differences.vec(), c.differences) << c.content;
    EXPECT_EQ(GetDifferences(dictionary, "/a", "/missing"), Names{kFailed});
    EXPECT_EQ(GetDifferences(dictionary, "/missing", "/a"), Names{kFailed});
    EXPECT_FALSE(dictionary.CompareSubtrees("/a", nullptr, "/b", differences.out()));
    EXPECT_FALSE(dictionary.CompareSubtrees("/a", &other, "/b", nullptr));
  }
}

TEST(Subtrees, AreSavedToAndLoadedFromStreams) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, Loaded("<a __type=\"int\">5<b/></a><c><d/></c>")));
  const orv_test::Stream stream;
  ASSERT_TRUE(dictionary.SaveSubtreeToStream("/a", stream.out()));
  EXPECT_EQ(stream.bytes(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n"
            "<IDictionaryRoot __type=\"int\" IDictionaryFileVersion=\"2.0.0.0\">5<b></b>\r\n</IDictionaryRoot>");
  EXPECT_TRUE(dictionary.LoadSubtreeFromStream("/c", stream.out()));
  EXPECT_EQ(DumpOf(dictionary), "IDictionaryRoot(a[__type=\"int\"]'5'(b) c[__type=\"int\"]'5'(b))");
  const std::string before = DumpOf(dictionary);
  for (const char* broken : {"", "<", "<IDictionaryRoot><a/>", "<other/>", "text"}) {
    const orv_test::Stream bad{std::string_view(broken)};
    EXPECT_FALSE(dictionary.LoadSubtreeFromStream("/c", bad.out())) << broken;
  }
  EXPECT_FALSE(dictionary.LoadSubtreeFromStream("/c d", stream.out()));
  EXPECT_FALSE(dictionary.LoadSubtreeFromStream("/c", nullptr));
  EXPECT_FALSE(dictionary.SaveSubtreeToStream("/c", nullptr));
  EXPECT_FALSE(dictionary.SaveSubtreeToStream("/missing", stream.out()));
  EXPECT_EQ(DumpOf(dictionary), before);
}

TEST(Subtrees, ADictionaryWithARootOfAnotherNameTakesNothing) {
  CDictionary dictionary;
  CDictionary source;
  ASSERT_TRUE(LoadText(dictionary, "<other><a/></other>"));
  ASSERT_TRUE(source.SetValue("/a", 1));
  const orv_test::Stream stream;
  ASSERT_TRUE(source.SaveSubtreeToStream("/a", stream.out()));
  EXPECT_FALSE(dictionary.MergeSubtree(&source, "/a", "/a"));
  EXPECT_FALSE(dictionary.LoadSubtreeFromStream("/a", stream.out()));
  EXPECT_FALSE(dictionary.CopySubtree("/a", "/b"));
  EXPECT_FALSE(dictionary.Rename("/a", "b"));
}

TEST(Subtrees, AreLinearAndDoNotRecurse) {
  constexpr std::size_t kDepth = 100'000;
  std::string text = "<IDictionaryRoot><top>";
  for (std::size_t i = 0; i < kDepth; ++i) text += "<a>";
  for (std::size_t i = 0; i < kDepth; ++i) text += "</a>";
  text += "</top><wide>";
  for (std::size_t i = 0; i < kDepth; ++i) text += "<n" + std::to_string(i) + "/>";
  text += "</wide></IDictionaryRoot>";
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, text));
  for (const char* top : {"/top", "/wide"}) {
    std::size_t count = 0;
    EXPECT_TRUE(dictionary.CopySubtree(top, "/copy"));
    EXPECT_TRUE(dictionary.CopySubtree(top, (std::string(top) + "/inside").c_str()));
    EXPECT_TRUE(dictionary.Delete((std::string(top) + "/inside").c_str()));
    EXPECT_TRUE(dictionary.MoveSubtree("/copy", "/moved"));
    EXPECT_TRUE(dictionary.Rename("/moved", "renamed"));
    EXPECT_TRUE(dictionary.MergeSubtree(&dictionary, top, "/renamed"));
    EXPECT_EQ(GetDifferences(dictionary, top, "/renamed"), Names());
    EXPECT_TRUE(dictionary.CountSubtree("/renamed", &count));
    EXPECT_EQ(count, kDepth + 1);
    EXPECT_TRUE(dictionary.Clear("/renamed"));
    EXPECT_TRUE(dictionary.Delete("/renamed"));
  }
}

// Dictionaries made by the factory.
class NewDictionaries : public ::testing::Test {
 protected:
  WorkFlowFactory registration_{new CDictionaryObjectCreator};
  CDictionary dictionary_;
};

TEST_F(NewDictionaries, HaveTheKeyOfTheOneTheyAreCopiedFrom) {
  FakeFiles files;
  FakeFileSystemCreator files_creator(files);
  Core::Encryption::CEncryptionObjectCreator encryption_creator;
  Core::UtilityStore::CUtilityStore store;
  store.AddUtilityObjectCreator(&files_creator);
  store.AddUtilityObjectCreator(&encryption_creator);
  dictionary_.SetUtilityStore(&store);
  ASSERT_TRUE(dictionary_.SetValue("/a/b", "value"));
  const OwnedDictionary plain(dictionary_.CopyToNewDictionary("/a"));
  ASSERT_TRUE(plain->SaveFile("plain"));
  dictionary_.SetEncryptionKey("a key");
  const OwnedDictionary copy(dictionary_.CopyToNewDictionary("/a"));
  ASSERT_TRUE(copy->SaveFile("copy"));
  EXPECT_NE(files.files["plain"].find("value"), std::string::npos);
  EXPECT_EQ(files.files["copy"].find('<'), std::string::npos);
  ASSERT_TRUE(dictionary_.LoadFile("copy"));
  EXPECT_EQ(GetString(dictionary_, "/b"), "value");
}

TEST_F(NewDictionaries, AreEmptyOrACopyOfASubtree) {
  Core::UtilityStore::CUtilityStore store;
  dictionary_.SetUtilityStore(&store);
  const OwnedDictionary empty(dictionary_.MakeDictionary());
  ASSERT_NE(empty, nullptr);
  EXPECT_FALSE(empty->Exists("/"));
  ASSERT_TRUE(LoadText(dictionary_, Loaded("<a k=\"v\">t<b __type=\"int\">5</b></a>")));
  const OwnedDictionary copy(dictionary_.CopyToNewDictionary("/a"));
  ASSERT_NE(copy, nullptr);
  std::int32_t value = 0;
  EXPECT_TRUE(copy->GetValue("/b", &value));
  EXPECT_EQ(value, 5);
  EXPECT_EQ(GetAttribute(*copy, "", "k"), "v");
  EXPECT_EQ(dictionary_.CopyToNewDictionary("/missing"), nullptr);
  EXPECT_EQ(dictionary_.CopyToNewDictionary(nullptr), nullptr);
}

TEST(NewDictionariesWithoutTheirCreator, AreNull) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", 1));
  EXPECT_EQ(dictionary.MakeDictionary(), nullptr);
  EXPECT_EQ(dictionary.CopyToNewDictionary("/a"), nullptr);
  for (const bool throws : {false, true}) {
    const auto make = [throws]() -> IBaseWorkFlowObject* {
      if (throws) throw 1;
      return new Core::UtilityStore::CUtilityStore;
    };
    const WorkFlowFactory registration(new orv_test::ScriptedCreator(ObjectNames::kDictionary, make));
    EXPECT_EQ(dictionary.MakeDictionary(), nullptr);
    EXPECT_EQ(dictionary.CopyToNewDictionary("/a"), nullptr);
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
