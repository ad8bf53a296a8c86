// Values of the ten types: what is stored, what is read back, and what fails.
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
using orv_test::PString;
using orv_test::PStringList;
using orv_test::WString;
using orv_test::WStringList;
using WideNames = std::vector<std::u16string>;

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
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
