// Values of the ten types: what is stored, what is read back, and what fails.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "DictionaryTesting.h"
#include "dictionary/DictionaryObject.h"
#include "tests/support/Marshalled.h"

namespace OrvWorkFlow::DictionaryTesting {
namespace {

using orv_test::BoolList;
using orv_test::DoubleList;
using orv_test::IntList;
using orv_test::PString;
using orv_test::PStringList;
using orv_test::WString;
using orv_test::WStringList;
using WideNames = std::vector<std::u16string>;

// The element as it stands in a saved file, without its end tag.
std::string Saved(IDictionary& dictionary, const std::string& name) {
  const std::string text = SaveText(dictionary);
  const std::size_t begin = text.find("<" + name + " ");
  return begin == std::string::npos ? kFailed : text.substr(begin, text.find("</", begin) - begin);
}

TEST(TypedValues, ScalarsAreStoredByTagAndText) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/s", "text"));
  ASSERT_TRUE(dictionary.SetValue("/w", u"ä\U0001F600"));
  ASSERT_TRUE(dictionary.SetValue("/i", std::int32_t{-5}));
  ASSERT_TRUE(dictionary.SetValue("/d", 0.1));
  ASSERT_TRUE(dictionary.SetValue("/t", true));
  ASSERT_TRUE(dictionary.SetValue("/f", false));
  EXPECT_EQ(Saved(dictionary, "s"), "<s __type=\"str\">text");
  EXPECT_EQ(Saved(dictionary, "w"), "<w __type=\"UStr\">\xC3\xA4\xF0\x9F\x98\x80");
  EXPECT_EQ(Saved(dictionary, "i"), "<i __type=\"int\">-5");
  EXPECT_EQ(Saved(dictionary, "d"), "<d __type=\"dbl\">0.100000");
  EXPECT_EQ(Saved(dictionary, "t"), "<t __type=\"Bool\">1");
  EXPECT_EQ(Saved(dictionary, "f"), "<f __type=\"Bool\">0");
}

TEST(TypedValues, ScalarsAreReadBack) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/w", u"ä\U0001F600"));
  ASSERT_TRUE(dictionary.SetValue("/i", std::numeric_limits<std::int32_t>::min()));
  ASSERT_TRUE(dictionary.SetValue("/d", 1e20));
  ASSERT_TRUE(dictionary.SetValue("/b", true));
  const WString wide;
  std::int32_t integer = 0;
  double number = 0;
  bool flag = false;
  EXPECT_TRUE(dictionary.GetValue("/w", wide.out()));
  EXPECT_TRUE(dictionary.GetValue("/i", &integer));
  EXPECT_TRUE(dictionary.GetValue("/d", &number));
  EXPECT_TRUE(dictionary.GetValue("/b", &flag));
  EXPECT_EQ(wide.str(), u"ä\U0001F600");
  EXPECT_EQ(integer, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(number, 1e20);
  EXPECT_TRUE(flag);
}

TEST(TypedValues, TheLargestDoubleIsWrittenInFull) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/d", 1e308));
  double number = 0;
  EXPECT_TRUE(dictionary.GetValue("/d", &number));
  EXPECT_EQ(number, 1e308);
  EXPECT_EQ(Saved(dictionary, "d").size(), std::string("<d __type=\"dbl\">").size() + 316);
}

TEST(TypedValues, NumbersOutsideTheNumbersAreStoredWithoutHarm) {
  CDictionary dictionary;
  for (const double value : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_TRUE(dictionary.SetValue("/d", value));
    double number = 0;
    EXPECT_TRUE(dictionary.GetValue("/d", &number));
  }
}

// Each type with all ten getters: exactly its own succeeds, and the others leave their outputs alone.
TEST(TypedValues, AGetterAnswersForItsOwnTypeOnly) {
  const char* const tags[] = {"str",     "UStr",       "int",     "dbl",    "Bool", "strlist", "UStrLst",
                              "intlist", "doublelist", "BoolLst", "Binary", "Nil",  "other"};
  for (int code = 0; code <= 12; ++code) {
    CDictionary dictionary;
    ASSERT_TRUE(dictionary.SetAttribute("/a", "__type", tags[code]));
    EXPECT_EQ(dictionary.GetValueType("/a"), static_cast<ValueType>(std::min(code, 11)));
    const PString text("old");
    const WString wide(u"old");
    std::int32_t integer = 7;
    double number = 7;
    bool flag = true;
    const PStringList texts(Names{"old"});
    const WStringList wides(WideNames{u"old"});
    const IntList integers({7});
    const DoubleList numbers({7});
    const BoolList flags({true});
    EXPECT_EQ(dictionary.GetValue("/a", text.out()), code == 0);
    EXPECT_EQ(dictionary.GetValue("/a", wide.out()), code == 1);
    EXPECT_EQ(dictionary.GetValue("/a", &integer), code == 2);
    EXPECT_EQ(dictionary.GetValue("/a", &number), code == 3);
    EXPECT_EQ(dictionary.GetValue("/a", &flag), code == 4);
    EXPECT_EQ(dictionary.GetValue("/a", texts.out()), code == 5);
    EXPECT_EQ(dictionary.GetValue("/a", wides.out()), code == 6);
    EXPECT_EQ(dictionary.GetValue("/a", integers.out()), code == 7);
    EXPECT_EQ(dictionary.GetValue("/a", numbers.out()), code == 8);
    EXPECT_EQ(dictionary.GetValue("/a", flags.out()), code == 9);
    EXPECT_EQ(text.str(), code == 0 ? "" : "old");
    EXPECT_EQ(wide.str(), code == 1 ? u"" : u"old");
    EXPECT_EQ(integer, code == 2 ? 0 : 7);
    EXPECT_EQ(number, code == 3 ? 0 : 7);
    EXPECT_EQ(flag, code != 4);
    EXPECT_EQ(texts.vec().size(), code == 5 ? 0u : 1u);
    EXPECT_EQ(wides.vec().size(), code == 6 ? 0u : 1u);
    EXPECT_EQ(integers.vec().size(), code == 7 ? 0u : 1u);
    EXPECT_EQ(numbers.vec().size(), code == 8 ? 0u : 1u);
    EXPECT_EQ(flags.vec().size(), code == 9 ? 0u : 1u);
  }
}

TEST(TypedValues, AMissingEntryHasNoTypeAndNoValue) {
  CDictionary dictionary;
  std::int32_t value = 7;
  EXPECT_EQ(dictionary.GetValueType("/a"), ValueType::Nil);
  EXPECT_FALSE(dictionary.GetValue("/a", &value));
  EXPECT_EQ(value, 7);
}

TEST(TypedValues, ABooleanEditedByHandIsASignTest) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(
      dictionary,
      "<IDictionaryRoot><a __type=\"Bool\">-1</a><b __type=\"Bool\">7</b><c __type=\"Bool\"/></IDictionaryRoot>"));
  bool value = true;
  EXPECT_TRUE(dictionary.GetValue("/a", &value));
  EXPECT_FALSE(value);
  EXPECT_TRUE(dictionary.GetValue("/b", &value));
  EXPECT_TRUE(value);
  EXPECT_TRUE(dictionary.GetValue("/c", &value));
  EXPECT_FALSE(value);
}

TEST(TypedValues, AnOlderTagStaysUntilTheValueIsSetAgain) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a __type=\"Str\">x</a></IDictionaryRoot>"));
  EXPECT_EQ(GetString(dictionary, "/a"), "x");
  EXPECT_EQ(GetAttribute(dictionary, "/a", "__type"), "Str");
  ASSERT_TRUE(dictionary.SetValue("/a", "y"));
  EXPECT_EQ(GetAttribute(dictionary, "/a", "__type"), "str");
}

TEST(TypedValues, EveryOlderTagIsRead) {
  CDictionary dictionary;
  const std::string list = "><__ListEntries><__item0>5</__item0></__ListEntries>";
  const std::string text = "<IDictionaryRoot><i __type=\"Int\">5</i><d __type=\"Dbl\">5</d><s __type=\"StrLst\"" +
                           list + "</s><l __type=\"IntLst\"" + list + "</l><n __type=\"DblLst\"" + list +
                           "</n></IDictionaryRoot>";
  ASSERT_TRUE(LoadText(dictionary, text));
  std::int32_t integer = 0;
  double number = 0;
  const IntList integers;
  const DoubleList numbers;
  EXPECT_TRUE(dictionary.GetValue("/i", &integer) && integer == 5);
  EXPECT_TRUE(dictionary.GetValue("/d", &number) && number == 5);
  EXPECT_EQ(GetStrings(dictionary, "/s"), Names{"5"});
  EXPECT_TRUE(dictionary.GetValue("/l", integers.out()) && integers.vec() == std::vector<std::int32_t>{5});
  EXPECT_TRUE(dictionary.GetValue("/n", numbers.out()) && numbers.vec() == std::vector<double>{5});
}

TEST(TypedValues, ASetWritesTheAttributesAnewAndKeepsTheirOrder) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary,
                       "<IDictionaryRoot><a  k='1'   __type='int' l=\"2\"  __type=\"str\" >x</a></IDictionaryRoot>"));
  ASSERT_TRUE(dictionary.SetValue("/a", true));
  EXPECT_EQ(Saved(dictionary, "a"), "<a k=\"1\" __type=\"Bool\" l=\"2\" __type=\"str\">1");
  EXPECT_EQ(dictionary.GetValueType("/a"), ValueType::Boolean);
}

TEST(TypedValues, ASetKeepsTheChildren) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a/b", "x"));
  ASSERT_TRUE(dictionary.SetValue("/a", std::int32_t{1}));
  EXPECT_EQ(GetString(dictionary, "/a/b"), "x");
}

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

TEST(TypedValues, NullArgumentsFailAndChangeNothing) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  const std::uint64_t changes = dictionary.GetChangeCount();
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const char*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const char16_t*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const IOrvStringList*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const IOrvBoolList*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const IOrvDoubleList*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const IOrvIntList*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue("/a", static_cast<const IOrvPStringList*>(nullptr)));
  EXPECT_FALSE(dictionary.SetValue(nullptr, "x"));
  EXPECT_FALSE(dictionary.SetValue(nullptr, u"x"));
  EXPECT_FALSE(dictionary.SetValue(nullptr, true));
  EXPECT_FALSE(dictionary.SetValue(nullptr, 1.5));
  EXPECT_FALSE(dictionary.SetValue(nullptr, std::int32_t{1}));
  EXPECT_FALSE(SetStrings(dictionary, nullptr, {"x"}));
  EXPECT_EQ(dictionary.GetChangeCount(), changes);
  const PString text("old");
  bool flag = true;
  EXPECT_FALSE(dictionary.GetValue(nullptr, text.out()));
  EXPECT_FALSE(dictionary.GetValue(nullptr, &flag));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvPString*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvString*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<bool*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<double*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<std::int32_t*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvStringList*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvBoolList*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvDoubleList*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvIntList*>(nullptr)));
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvPStringList*>(nullptr)));
  EXPECT_EQ(text.str(), "old");
  EXPECT_TRUE(flag);
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

class ThrowingText final : public IOrvPString {
 public:
  bool Assign(const char* /*text*/, std::size_t /*length*/) override { throw std::runtime_error("the host's text"); }
  const char* GetText() const override { return ""; }
  std::size_t GetLength() const override { return 0; }
  void Release() override {}
};

TEST(TypedValues, ATextThatThrowsMakesTheOperationFail) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  ThrowingText text;
  EXPECT_FALSE(dictionary.GetValue("/a", static_cast<IOrvPString*>(&text)));
  EXPECT_FALSE(dictionary.GetAttribute("/a", "__type", &text));
  EXPECT_FALSE(dictionary.SaveToText(&text));
  EXPECT_EQ(GetString(dictionary, "/a"), "x");
}

}  // namespace
}  // namespace OrvWorkFlow::DictionaryTesting
