// List values: their items in files and in memory, and lists that fail.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

using orv_test::BoolList;
using orv_test::DoubleList;
using orv_test::IntList;
using orv_test::PStringList;
using orv_test::WStringList;
using WideNames = std::vector<std::u16string>;

TEST(Lists, OfAllTypesAreReadBack) {
  CDictionary dictionary;
  const Names texts = {"a", "", "c d", "\xC3\xA4"};
  const WideNames wides = {u"ä", u"", u"\U0001F600"};
  const std::vector<std::int32_t> integers = {1, -2, std::numeric_limits<std::int32_t>::max()};
  const std::vector<double> numbers = {0.5, -1e20, 0};
  const std::vector<bool> flags = {true, false, true};
  const auto set = [&](const char* path, const auto& list) {
    const auto* value = list.out();
    return dictionary.SetValue(path, value);
  };
  ASSERT_TRUE(set("/t", PStringList(texts)));
  ASSERT_TRUE(set("/w", WStringList(wides)));
  ASSERT_TRUE(set("/i", IntList(integers)));
  ASSERT_TRUE(set("/n", DoubleList(numbers)));
  ASSERT_TRUE(set("/f", BoolList(flags)));
  const auto get = [&](const char* path, const auto& list) {
    EXPECT_TRUE(dictionary.GetValue(path, list.out()));
    return list.vec();
  };
  for (const bool is_loaded : {false, true}) {
    if (is_loaded) {
      ASSERT_TRUE(LoadText(dictionary, SaveText(dictionary)));
    }
    EXPECT_EQ(get("/t", PStringList()), texts);
    EXPECT_EQ(get("/w", WStringList()), wides);
    EXPECT_EQ(get("/i", IntList()), integers);
    EXPECT_EQ(get("/n", DoubleList()), numbers);
    EXPECT_EQ(get("/f", BoolList()), flags);
  }
  EXPECT_EQ(dictionary.GetValueType("/t"), ValueType::StringList);
  EXPECT_EQ(dictionary.GetValueType("/w"), ValueType::WideStringList);
  EXPECT_EQ(dictionary.GetValueType("/i"), ValueType::IntegerList);
  EXPECT_EQ(dictionary.GetValueType("/n"), ValueType::DoubleList);
  EXPECT_EQ(dictionary.GetValueType("/f"), ValueType::BooleanList);
}

TEST(Lists, ItemsAreStoredByTheirTextsWithoutAttributes) {
  CDictionary dictionary;
  const auto set = [&](const auto& list) {
    const auto* value = list.out();
    EXPECT_TRUE(dictionary.SetValue("/l", value));
    return Saved(dictionary, "l") + "|" + GetAttribute(dictionary, "/l/__ListEntries/__item0", "__type");
  };
  const auto expected = [](const std::string& tag, const std::string& text) {
    return "<l __type=\"" + tag + "\"><__ListEntries>\r\n\t\t\t<__item0>" + text + "|" + kFailed;
  };
  EXPECT_EQ(set(PStringList(Names{"a"})), expected("strlist", "a"));
  EXPECT_EQ(set(WStringList(WideNames{u"ä"})), expected("UStrLst", "\xC3\xA4"));
  EXPECT_EQ(set(IntList({-5})), expected("intlist", "-5"));
  EXPECT_EQ(set(DoubleList({0.1})), expected("doublelist", "0.100000"));
  EXPECT_EQ(set(BoolList({true})), expected("BoolLst", "1"));
}

TEST(Lists, AShorterListLeavesNothingOfTheLonger) {
  CDictionary dictionary;
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"a", "b", "c"}));
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"d"}));
  EXPECT_EQ(GetEntries(dictionary, "/l/__ListEntries"), Names{"__item0"});
  EXPECT_EQ(GetStrings(dictionary, "/l"), Names{"d"});
}

TEST(Lists, AnEmptyListHasAnEmptyHolder) {
  CDictionary dictionary;
  ASSERT_TRUE(SetStrings(dictionary, "/l", {}));
  EXPECT_TRUE(dictionary.Exists("/l/__ListEntries"));
  EXPECT_EQ(GetStrings(dictionary, "/l"), Names());
}

TEST(Lists, AListWithoutAHolderIsEmpty) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><l __type=\"strlist\"/></IDictionaryRoot>"));
  EXPECT_EQ(GetStrings(dictionary, "/l"), Names());
}

TEST(Lists, SettingOneAgainPutsTheHolderBehindTheOtherChildren) {
  CDictionary dictionary;
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"a"}));
  ASSERT_TRUE(dictionary.SetValue("/l/c", "x"));
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"b"}));
  const std::string text = SaveText(dictionary);
  EXPECT_LT(text.find("<c "), text.find("<__ListEntries>"));
}

TEST(Lists, AScalarSetOverAListLeavesTheItems) {
  CDictionary dictionary;
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"a"}));
  ASSERT_TRUE(dictionary.SetValue("/l", "text"));
  EXPECT_TRUE(dictionary.Exists("/l/__ListEntries/__item0"));
  ASSERT_TRUE(dictionary.SetAttribute("/l", "__type", "strlist"));
  EXPECT_EQ(GetStrings(dictionary, "/l"), Names{"a"});
}

TEST(Lists, AListSetOverAScalarEmptiesItsText) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/l", "text"));
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"a"}));
  EXPECT_EQ(Saved(dictionary, "l"), "<l __type=\"strlist\"><__ListEntries>\r\n\t\t\t<__item0>a");
}

TEST(Lists, ItemsAreReadByNumberUpToTheFirstGap) {
  CDictionary dictionary;
  const auto items = [&](const std::string& xml) {
    EXPECT_TRUE(LoadText(dictionary, "<IDictionaryRoot><l __type=\"strlist\"><__ListEntries>" + xml +
                                         "</__ListEntries></l></IDictionaryRoot>"));
    return GetStrings(dictionary, "/l");
  };
  EXPECT_EQ(items("<__item0>a</__item0><__item1>b</__item1><__item3>d</__item3>"), (Names{"a", "b"}));
  EXPECT_EQ(items("<__item2>c</__item2><__item0>a</__item0><__item1>b</__item1>"), (Names{"a", "b", "c"}));
  EXPECT_EQ(items("<x/><__item0>a</__item0><y/><__item1>b</__item1>"), (Names{"a", "b"}));
  EXPECT_EQ(items("<__item00>a</__item00>"), Names());
  EXPECT_EQ(items("<__item0>a</__item0><__item01>b</__item01>"), Names{"a"});
  EXPECT_EQ(items("<__item1>b</__item1>"), Names());
}

TEST(Lists, AttributesOfItemsAreIgnored) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary,
                       "<IDictionaryRoot><l __type=\"intlist\"><__ListEntries><__item0 __type=\"str\"> 5 </__item0>"
                       "</__ListEntries></l></IDictionaryRoot>"));
  const IntList list;
  ASSERT_TRUE(dictionary.GetValue("/l", list.out()));
  EXPECT_EQ(list.vec(), std::vector<std::int32_t>{5});
}

// A list of a host that throws at its third item, or refuses it.
class FaultyList final : public IOrvIntList {
 public:
  explicit FaultyList(bool throws) : throws_(throws) {}
  std::size_t GetCount() const override { return 5; }
  bool Get(std::size_t index, std::int32_t* value) const override {
    *value = 1;
    return index != 2 || Refuse();
  }
  bool Add(std::int32_t /*value*/) override { return ++added_ != 3 || Refuse(); }
  void Clear() override { added_ = 0; }
  void Release() override {}
  int added() const { return added_; }

 private:
  bool Refuse() const { return throws_ ? throw std::runtime_error("the host's list") : false; }

  const bool throws_;
  int added_ = 0;
};

TEST(Lists, AListThatThrowsOrRefusesMakesTheOperationFail) {
  for (const bool throws : {false, true}) {
    CDictionary dictionary;
    FaultyList list(throws);
    EXPECT_FALSE(dictionary.SetValue("/l", static_cast<const IOrvIntList*>(&list)));
    EXPECT_FALSE(dictionary.Exists("/l"));
    const IntList integers({1, 2, 3, 4});
    ASSERT_TRUE(dictionary.SetValue("/l", static_cast<const IOrvIntList*>(integers.out())));
    EXPECT_FALSE(dictionary.GetValue("/l", static_cast<IOrvIntList*>(&list)));
    EXPECT_EQ(list.added(), 0);
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
