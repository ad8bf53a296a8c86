// Paths as texts and as objects: every operation does the same with both.
#include <gtest/gtest.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <utility>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

using Path = DictionaryPathWrapperSimple;

struct AsText {
  static const char* Of(const char* path) { return path; }
};
struct AsObject {
  static Path Of(const char* path) { return Path(path); }
};

template <class Form>
class PathForms : public ::testing::Test {
 protected:
  template <class Value>
  void SetAndGet(const char* path, const Value& value) {
    EXPECT_TRUE(dictionary_.SetValue(Form::Of(path), value));
    Value read{};
    EXPECT_TRUE(dictionary_.GetValue(Form::Of(path), &read));
    EXPECT_EQ(read, value);
    EXPECT_TRUE(static_cast<IDictionary&>(object_).GetValue(path, &read));
    EXPECT_EQ(read, value);
  }
  template <class List>
  void SetAndGetList(const char* path, const List& list) {
    const List read;
    EXPECT_TRUE(dictionary_.SetValue(Form::Of(path), list.out()));
    EXPECT_TRUE(dictionary_.GetValue(Form::Of(path), read.out()));
    EXPECT_EQ(read.vec(), list.vec());
  }

  CDictionary object_;
  IDictionary& dictionary_ = object_;
};
using Forms = ::testing::Types<AsText, AsObject>;
TYPED_TEST_SUITE(PathForms, Forms);

TYPED_TEST(PathForms, SetAndGetEveryType) {
  this->template SetAndGet<std::int32_t>("/i", -5);
  this->template SetAndGet<double>("/d", 0.25);
  this->template SetAndGet<bool>("/b", true);
  IDictionary& dictionary = this->dictionary_;
  const orv_test::PString text;
  EXPECT_TRUE(dictionary.SetValue(TypeParam::Of("/s"), "narrow"));
  EXPECT_TRUE(dictionary.GetValue(TypeParam::Of("/s"), text.out()));
  EXPECT_EQ(text.str(), "narrow");
  const orv_test::WString wide;
  EXPECT_TRUE(dictionary.SetValue(TypeParam::Of("/w"), u"wide"));
  EXPECT_TRUE(dictionary.GetValue(TypeParam::Of("/w"), wide.out()));
  EXPECT_EQ(wide.str(), u"wide");
  this->SetAndGetList("/ls", orv_test::PStringList(Names{"a", "b"}));
  this->SetAndGetList("/lw", orv_test::WStringList({u"a", u"b"}));
  this->SetAndGetList("/li", orv_test::IntList({1, -2}));
  this->SetAndGetList("/ld", orv_test::DoubleList({0.5}));
  this->SetAndGetList("/lb", orv_test::BoolList({true, false}));
  const orv_test::Stream bytes;
  EXPECT_TRUE(dictionary.SetBinary(TypeParam::Of("/y"), "\0\xFF", 2));
  EXPECT_TRUE(dictionary.GetBinary(TypeParam::Of("/y"), bytes.out()));
  EXPECT_EQ(bytes.bytes(), std::string("\0\xFF", 2));
  const ValueType types[] = {ValueType::Integer,        ValueType::Double,      ValueType::Boolean,
                             ValueType::String,         ValueType::WideString,  ValueType::StringList,
                             ValueType::WideStringList, ValueType::IntegerList, ValueType::DoubleList,
                             ValueType::BooleanList,    ValueType::Binary};
  const Names names = {"i", "d", "b", "s", "w", "ls", "lw", "li", "ld", "lb", "y"};
  EXPECT_EQ(GetEntries(dictionary, "/"), names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(dictionary.GetValueType(TypeParam::Of(names[i].c_str())), types[i]) << names[i];
  }
}

TYPED_TEST(PathForms, LookAndChange) {
  IDictionary& dictionary = this->dictionary_;
  const orv_test::PStringList list;
  const orv_test::PString text;
  const auto path = [](const char* of) { return TypeParam::Of(of); };
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a __type=\"int\" k=\"v\">5<b><c/></b></a></IDictionaryRoot>"));
  EXPECT_TRUE(dictionary.Exists(path("/a/b")));
  EXPECT_FALSE(dictionary.Exists(path("/a/x")));
  EXPECT_TRUE(dictionary.GetEntries(path("/a"), list.out()));
  EXPECT_EQ(list.vec(), Names{"b"});
  std::size_t count = 9;
  EXPECT_TRUE(dictionary.CountEntries(path("/a"), &count));
  EXPECT_EQ(count, 1u);
  EXPECT_TRUE(dictionary.CountSubtree(path("/a"), &count));
  EXPECT_EQ(count, 3u);
  EXPECT_TRUE(dictionary.EnumeratePaths(path("/a"), list.out()));
  EXPECT_EQ(list.vec(), (Names{"/a", "/a/b", "/a/b/c"}));
  EXPECT_TRUE(dictionary.FindPaths(path("/a"), "b", list.out()));
  EXPECT_EQ(list.vec(), (Names{"/a/b", "/a/b/c"}));
  EXPECT_TRUE(dictionary.HasAttribute(path("/a"), "k"));
  EXPECT_TRUE(dictionary.GetAttribute(path("/a"), "k", text.out()));
  EXPECT_EQ(text.str(), "v");
  EXPECT_TRUE(dictionary.SetAttribute(path("/a"), "l", "w"));
  EXPECT_TRUE(dictionary.GetAttributeNames(path("/a"), list.out()));
  EXPECT_EQ(list.vec(), (Names{"__type", "k", "l"}));
  EXPECT_TRUE(dictionary.RemoveAttribute(path("/a"), "k"));
  EXPECT_FALSE(dictionary.HasAttribute(path("/a"), "k"));
  EXPECT_TRUE(dictionary.GetValueTexts(path("/a"), list.out()));
  EXPECT_EQ(list.vec(), Names{"5"});
  EXPECT_TRUE(dictionary.Rename(path("/a/b"), "d"));
  EXPECT_TRUE(dictionary.Exists(path("/a/d/c")));
  EXPECT_TRUE(dictionary.Clear(path("/a/d")));
  EXPECT_TRUE(dictionary.Exists(path("/a/d")));
  EXPECT_FALSE(dictionary.Exists(path("/a/d/c")));
  EXPECT_TRUE(dictionary.Delete(path("/a/d")));
  EXPECT_FALSE(dictionary.Exists(path("/a/d")));
}

TYPED_TEST(PathForms, RedirectionsAndSubtrees) {
  IDictionary& dictionary = this->dictionary_;
  const auto path = [](const char* of) { return TypeParam::Of(of); };
  const orv_test::PStringList targets(Names{"/a/b"});
  ASSERT_TRUE(dictionary.SetValue(path("/a/b"), "x"));
  EXPECT_TRUE(dictionary.SetRedirection(path("/r"), targets.out()));
  EXPECT_TRUE(dictionary.IsRedirection(path("/r")));
  EXPECT_EQ(GetString(dictionary, "/r"), "x");
  EXPECT_TRUE(dictionary.RemoveRedirection(path("/r")));
  EXPECT_FALSE(dictionary.IsRedirection(path("/r")));
  EXPECT_TRUE(dictionary.CopySubtree(path("/a"), path("/c")));
  EXPECT_TRUE(dictionary.MoveSubtree(path("/c"), path("/d")));
  EXPECT_TRUE(dictionary.MergeSubtree(&dictionary, path("/a"), path("/e")));
  const orv_test::PStringList differences(Names{"old"});
  EXPECT_TRUE(dictionary.CompareSubtrees(path("/d"), &dictionary, path("/e"), differences.out()));
  EXPECT_EQ(differences.vec(), Names());
  const orv_test::Stream stream;
  EXPECT_TRUE(dictionary.SaveSubtreeToStream(path("/a"), stream.out()));
  EXPECT_TRUE(dictionary.LoadSubtreeFromStream(path("/f"), stream.out()));
  EXPECT_EQ(GetString(dictionary, "/f/b"), "x");
  EXPECT_FALSE(dictionary.SaveSubtree(path("/a"), "file"));
  EXPECT_FALSE(dictionary.LoadSubtree(path("/a"), "file"));
  EXPECT_EQ(dictionary.CopyToNewDictionary(path("/missing")), nullptr);
  EXPECT_EQ(GetPaths(dictionary, ""), (Names{"", "/a", "/a/b", "/r", "/d", "/d/b", "/e", "/e/b", "/f", "/f/b"}));
}

TEST(DictionaryPath, IsBuiltOfPieces) {
  const std::pair<Path, const char*> cases[] = {
      {Path(), ""},
      {Path(""), ""},
      {Path("/"), ""},
      {Path("a"), "/a"},
      {Path("/a//b/"), "/a/b"},
      {Path("a", "b/c", "/d/", "", "e"), "/a/b/c/d/e"},
      {Path("a") / "b" / "/c", "/a/b/c"},
      {Path("a").Append("b").Append("c"), "/a/b/c"},
      {Path(std::string(1000, 'x').c_str(), "y"), nullptr},
      {Path("a b"), "/a b"},
  };
  for (const auto& [path, expected] : cases) {
    const std::string text = expected != nullptr ? expected : "/" + std::string(1000, 'x') + "/y";
    EXPECT_EQ(std::string(path.GetPath()), text);
  }
}

TEST(DictionaryPath, OfTheRootGivesPathsThatAreFormedBelowIt) {
  CDictionary dictionary;
  const orv_test::PStringList paths;
  ASSERT_TRUE(dictionary.SetValue("/a", 1));
  ASSERT_TRUE(dictionary.EnumeratePaths(DictionaryPathWrapperSimple(), paths.out()));
  EXPECT_EQ(paths.vec(), (Names{"", "/a"}));
  ASSERT_TRUE(dictionary.FindPaths(DictionaryPathWrapperSimple(), "^/a$", paths.out()));
  EXPECT_EQ(paths.vec(), Names{"/a"});
}

TEST(DictionaryPath, IsAValue) {
  Path path("a");
  const Path copy = path;
  path /= "b";
  EXPECT_STREQ(path.GetPath(), "/a/b");
  EXPECT_STREQ(copy.GetPath(), "/a");
  Path other;
  other = path;
  EXPECT_STREQ(other.GetPath(), "/a/b");
  other = std::move(path);
  EXPECT_STREQ(other.GetPath(), "/a/b");
  const Path moved = std::move(other);
  EXPECT_STREQ(moved.GetPath(), "/a/b");
}

TEST(DictionaryPath, ANullPieceMakesItThePathOfNoEntry) {
  const Path path = Path("a", static_cast<const char*>(nullptr)) / "b";
  EXPECT_EQ(path.GetPath(), nullptr);
  CDictionary object;
  IDictionary& dictionary = object;
  std::int32_t value = 3;
  EXPECT_FALSE(dictionary.SetValue(path, 5));
  EXPECT_FALSE(dictionary.GetValue(path, &value));
  EXPECT_EQ(value, 3);
  EXPECT_EQ(dictionary.GetValueType(path), ValueType::Nil);
  EXPECT_FALSE(dictionary.Exists(path));
  EXPECT_FALSE(dictionary.CopySubtree(path, path));
}

// What a call compiles to, or does not.
template <class Value>
concept CanBeSet = requires(IDictionary& dictionary, Value value) {
  dictionary.SetValue("/a", value);
};
template <class Value>
concept CanBeSetByObject = requires(IDictionary& dictionary, const Path& path, Value value) {
  dictionary.SetValue(path, value);
};

template <class... Values>
constexpr bool kEachCanBeSet = ((CanBeSet<Values> && CanBeSetByObject<Values>)&&...);
template <class... Values>
constexpr bool kNoneCanBeSet = ((!CanBeSet<Values> && !CanBeSetByObject<Values>)&&...);

static_assert(kEachCanBeSet<int, short, std::int32_t, double, float, bool, const char*, char*, const char16_t*>);
static_assert(kEachCanBeSet<IOrvPStringList*, const IOrvPStringList*, IOrvStringList*, IOrvIntList*, IOrvDoubleList*,
                            IOrvBoolList*>);
// Numbers that do not always fit are for the caller to convert.
static_assert(kNoneCanBeSet<long, unsigned, unsigned long, long long, std::uint64_t>);
// Pointers to anything else would be stored as booleans.
static_assert(kNoneCanBeSet<IOrvPString*, IOrvString*, IOrvBasicStream*, void*, const wchar_t*, const int*, const bool*,
                            std::nullptr_t, std::string>);

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
