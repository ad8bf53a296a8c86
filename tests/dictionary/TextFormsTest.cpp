// The small grammars: paths, attribute texts, type tags, numbers and wide texts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "base/dictionary/ValueTags.h"
#include "dictionary/tree/EntryPath.h"
#include "dictionary/values/AttributeText.h"
#include "dictionary/values/ValueText.h"
#include "dictionary/values/ValueTypes.h"
#include "dictionary/xml/Escaping.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

using Strings = std::vector<std::string>;

Strings Components(std::string_view path) {
  Strings result;
  PathComponents components(path);
  std::string_view component;
  while (components.Next(component)) result.emplace_back(component);
  return result;
}

TEST(EntryPath, IgnoresEmptyComponents) {
  EXPECT_EQ(Components(""), Strings());
  EXPECT_EQ(Components("///"), Strings());
  EXPECT_EQ(Components("/a//b/"), (Strings{"a", "b"}));
  EXPECT_EQ(Components("a/b"), (Strings{"a", "b"}));
  EXPECT_EQ(Components("/a b/\\"), (Strings{"a b", "\\"}));
}

TEST(EntryPath, LettersDigitsUnderscoreAndHyphenAreValidAndNothingElse) {
  for (int byte = 1; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const bool expected =
        std::string("/_-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz").find(c) != std::string::npos;
    EXPECT_EQ(IsValidPath(std::string("a") + c), expected) << byte;
  }
  EXPECT_TRUE(IsValidPath(""));
  EXPECT_TRUE(IsValidPath("//"));
}

struct Pair {
  std::string name;
  std::string value;
  bool operator==(const Pair&) const = default;
};
std::vector<Pair> ReadPairs(std::string_view text) {
  std::vector<Pair> pairs;
  AttributeReader reader(text);
  std::string_view name;
  std::string_view value;
  while (reader.Next(name, value)) pairs.push_back({std::string(name), std::string(value)});
  return pairs;
}

TEST(AttributeText, ReadsPairsInQuotesOfEitherKind) {
  EXPECT_EQ(ReadPairs("a=\"1\" b='2'"), (std::vector<Pair>{{"a", "1"}, {"b", "2"}}));
  EXPECT_EQ(ReadPairs(" \t\r\n\v\fa=\"it's\"b='\"'"), (std::vector<Pair>{{"a", "it's"}, {"b", "\""}}));
  EXPECT_EQ(ReadPairs("a=\"\""), (std::vector<Pair>{{"a", ""}}));
}

TEST(AttributeText, DropsWhatIsNoPair) {
  EXPECT_EQ(ReadPairs(""), std::vector<Pair>());
  EXPECT_EQ(ReadPairs("a"), std::vector<Pair>());
  EXPECT_EQ(ReadPairs("a="), std::vector<Pair>());
  EXPECT_EQ(ReadPairs("a=1"), std::vector<Pair>());
  EXPECT_EQ(ReadPairs("a=\"1"), std::vector<Pair>());
  EXPECT_EQ(ReadPairs("a=\"1'"), std::vector<Pair>());
  EXPECT_EQ(ReadPairs("=\"1\" b=\"2\""), (std::vector<Pair>{{"b", "2"}}));
}

TEST(AttributeText, TakesTheNextQuoteForAValue) {
  EXPECT_EQ(ReadPairs("a=5 b=\"x\""), (std::vector<Pair>{{"a", "x"}}));
}

TEST(AttributeText, BlanksBeforeTheEqualsSignBelongToTheName) {
  EXPECT_EQ(ReadPairs("k = \"v\""), (std::vector<Pair>{{"k ", "v"}}));
  EXPECT_EQ(FindAttribute("__type = \"int\"", "__type"), std::nullopt);
}

TEST(AttributeText, TheFirstOfTwoPairsOfOneNameCounts) {
  EXPECT_EQ(FindAttribute("a=\"1\" a=\"2\"", "a"), "1");
  EXPECT_EQ(WithAttribute("a=\"1\" b=\"2\" a=\"3\"", "a", "x"), "a=\"x\" b=\"2\" a=\"3\"");
  EXPECT_EQ(WithoutAttribute("a=\"1\" b=\"2\" a=\"3\"", "a"), "b=\"2\" a=\"3\"");
}

TEST(AttributeText, AChangeWritesTheWholeTextAnew) {
  EXPECT_EQ(WithAttribute("  a='1'   b = '\"'  rest", "c", "2"), "a=\"1\" b ='\"' c=\"2\"");
  EXPECT_EQ(WithoutAttribute("  a='1'   b='2'  rest", "z"), "a=\"1\" b=\"2\"");
  EXPECT_EQ(WithoutAttribute("a='1'", "a"), "");
  EXPECT_EQ(WithAttribute("", "a", ""), "a=\"\"");
}

TEST(AttributeText, AValueWithBothKindsOfQuotesIsCutWhenItIsReadAgain) {
  const std::string text = WithAttribute("", "a", "1\"2'3");
  EXPECT_EQ(text, "a='1\"2'3'");
  EXPECT_EQ(FindAttribute(text, "a"), "1\"2");
}

TEST(AttributeText, RefusesNamesThatCouldNotBeReadBack) {
  for (const char* name : {"", "a b", "\ta", "a\n", "x=", "\"", "a'", "a>", "/", "a/"}) {
    EXPECT_FALSE(IsAttributeName(name)) << name;
  }
  for (const char* name : {"a", "__type", "a.b", "a:b", "\xC3\xA4", "a&b", "-"})
    EXPECT_TRUE(IsAttributeName(name)) << name;
}

TEST(ValueTypes, EachTypeHasItsTag) {
  const char* const tags[] = {"str",     "UStr",    "int",        "dbl",     "Bool",   "strlist",
                              "UStrLst", "intlist", "doublelist", "BoolLst", "Binary", "Nil"};
  for (int code = 0; code <= 11; ++code) {
    EXPECT_EQ(Base::TagOf(static_cast<ValueType>(code)), tags[code]);
    EXPECT_EQ(Base::TypeOfTag(tags[code]), static_cast<ValueType>(code));
  }
}

TEST(ValueTypes, OlderSpellingsAreReadAndCaseMatters) {
  EXPECT_EQ(Base::TypeOfTag("Str"), ValueType::String);
  EXPECT_EQ(Base::TypeOfTag("Int"), ValueType::Integer);
  EXPECT_EQ(Base::TypeOfTag("Dbl"), ValueType::Double);
  EXPECT_EQ(Base::TypeOfTag("StrLst"), ValueType::StringList);
  EXPECT_EQ(Base::TypeOfTag("IntLst"), ValueType::IntegerList);
  EXPECT_EQ(Base::TypeOfTag("DblLst"), ValueType::DoubleList);
  for (const char* tag :
       {"", "bool", "BOOL", "boolean", "Ustr", "ustr", "dblLst", "STR", "INT", "int ", "nil", "Nul"}) {
    EXPECT_EQ(Base::TypeOfTag(tag), ValueType::Nil) << tag;
  }
}

TEST(ValueText, IntegersReadLikeTheirLeadingDigits) {
  EXPECT_EQ(ParseInteger(""), 0);
  EXPECT_EQ(ParseInteger(" \t\n\v\f\r-12x"), -12);
  EXPECT_EQ(ParseInteger("+7"), 7);
  EXPECT_EQ(ParseInteger("--7"), 0);
  EXPECT_EQ(ParseInteger("+-7"), 0);
  EXPECT_EQ(ParseInteger("- 7"), 0);
  EXPECT_EQ(ParseInteger("0x10"), 0);
  EXPECT_EQ(ParseInteger("1.9"), 1);
  EXPECT_EQ(ParseInteger(std::string_view("1\0"
                                          "2",
                                          3)),
            1);
  EXPECT_EQ(ParseInteger("007"), 7);
}

TEST(ValueText, IntegersBeyond32BitsReadAsTheNearest) {
  EXPECT_EQ(ParseInteger("2147483647"), 2147483647);
  EXPECT_EQ(ParseInteger("2147483648"), 2147483647);
  EXPECT_EQ(ParseInteger("-2147483648"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(ParseInteger("-99999999999999999999999999"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(ParseInteger("99999999999999999999999999"), 2147483647);
}

TEST(ValueText, BooleansAreASignTest) {
  for (const char* text : {"1", "7", " +1", "9999999999", "1x"}) EXPECT_TRUE(ParseBoolean(text)) << text;
  for (const char* text : {"", "0", "-1", "true", "x1", "-9999999999"}) EXPECT_FALSE(ParseBoolean(text)) << text;
}

std::string Double(double value) {
  NumberBuffer buffer;
  return std::string(FormatDouble(value, buffer));
}

TEST(ValueText, DoublesHaveSixDecimalsAndNoExponent) {
  EXPECT_EQ(Double(0.1), "0.100000");
  EXPECT_EQ(Double(1e20), "100000000000000000000.000000");
  EXPECT_EQ(Double(-0.0), "-0.000000");
  EXPECT_EQ(Double(0.0000005), "0.000000");
  EXPECT_EQ(Double(0.0078125), "0.007812");  // Half way: to the even digit.
  EXPECT_EQ(Double(0.0234375), "0.023438");
  EXPECT_EQ(Double(1e308).size(), 316u);
  EXPECT_EQ(Double(-std::numeric_limits<double>::max()).size(), 317u);
  EXPECT_EQ(Double(std::numeric_limits<double>::denorm_min()), "0.000000");
}

// The test program runs in the "C" locale, so the C library's functions show what is wanted.
TEST(ValueText, DoublesAreThoseOfTheCLibrary) {
  std::mt19937_64 engine(3);
  for (int i = 0; i < 20000; ++i) {
    const double value =
        std::ldexp(static_cast<double>(static_cast<std::int64_t>(engine())), static_cast<int>(engine() % 1000) - 600);
    char expected[400];
    std::snprintf(expected, sizeof expected, "%f", value);
    ASSERT_EQ(Double(value), expected);
    ASSERT_EQ(ParseDouble(expected), std::strtod(expected, nullptr)) << expected;
    std::snprintf(expected, sizeof expected, "%.*e", static_cast<int>(engine() % 20), value);
    ASSERT_EQ(ParseDouble(expected), std::strtod(expected, nullptr)) << expected;
  }
}

TEST(ValueText, DoublesReadTheLongestNumberAtTheBeginning) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;
    double value;
  } cases[] = {{"", 0.0},
               {" ", 0.0},
               {"x", 0.0},
               {"1", 1.0},
               {"-1", -1.0},
               {" \t\n\v\f\r1.5", 1.5},
               {"+1.5", 1.5},
               {"-1.5", -1.5},
               {"+-1", 0.0},
               {"-+1", 0.0},
               {"--1", 0.0},
               {"- 1", 0.0},
               {"1,5", 1.0},
               {"1.5.5", 1.5},
               {".5", 0.5},
               {"5.", 5.0},
               {".", 0.0},
               {"-.", 0.0},
               {"-", 0.0},
               {"-0", -0.0},
               {"1e", 1.0},
               {"1e+", 1.0},
               {"1e5x", 1e5},
               {"1e5.5", 1e5},
               {"1E-3", 1e-3},
               {"e5", 0.0},
               {"1d5", 1.0},
               {"1 2", 1.0},
               {"1e400", kInfinity},
               {"-1e400", -kInfinity},
               {"1e-400", 0.0},
               {"-1e-400", -0.0},
               {"0e999999999999999999999", 0.0},
               {"1e999999999999999999999", kInfinity},
               {"1e-999999999999999999999", 0.0}};
  for (const auto& [text, value] : cases) {
    EXPECT_EQ(ParseDouble(text), value) << text;
    EXPECT_EQ(std::signbit(ParseDouble(text)), std::signbit(value)) << text;
  }
  const std::string small = "0." + std::string(400, '0') + "1";
  EXPECT_EQ(ParseDouble(small), 0);
  EXPECT_EQ(ParseDouble(small + "e402"), 10);
  EXPECT_EQ(ParseDouble("1" + std::string(400, '0')), std::numeric_limits<double>::infinity());
}

TEST(ValueText, WideTextsAreUtf8) {
  EXPECT_EQ(Base::ToUtf8(u"aä€"), "a\xC3\xA4\xE2\x82\xAC");
  EXPECT_EQ(Base::ToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Base::FromUtf8("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), u"aä€\U0001F600");
  for (char32_t code = 1; code < 0x110000; code += code < 0x3000 ? 1 : 251) {
    if (code >= 0xD800 && code < 0xE000) continue;
    std::u16string wide;
    if (code < 0x10000) {
      wide = {static_cast<char16_t>(code)};
    } else {
      wide = {static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)), static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
    }
    ASSERT_EQ(Base::FromUtf8(Base::ToUtf8(wide)), wide) << static_cast<std::uint32_t>(code);
  }
}

TEST(ValueText, HalfASurrogatePairBecomesTheReplacementCharacter) {
  const std::string replacement = "\xEF\xBF\xBD";
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  EXPECT_EQ(Base::ToUtf8(std::u16string{u'a', high}), "a" + replacement);
  EXPECT_EQ(Base::ToUtf8(std::u16string{low, u'a'}), replacement + "a");
  EXPECT_EQ(Base::ToUtf8(std::u16string{low, high}), replacement + replacement);
  EXPECT_EQ(Base::ToUtf8(std::u16string{high, high, low}), replacement + "\xF0\x9F\x98\x80");
}

TEST(ValueText, MalformedUtf8BecomesTheReplacementCharacter) {
  EXPECT_EQ(Base::FromUtf8("a\x80z"), u"a\uFFFDz");
  EXPECT_EQ(Base::FromUtf8("\xC3"), u"\uFFFD");
  EXPECT_EQ(Base::FromUtf8("\xC0\xAF"), u"\uFFFD\uFFFD");
  EXPECT_EQ(Base::FromUtf8("\xE2\x82z"), u"\uFFFDz");
  EXPECT_EQ(Base::FromUtf8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Base::FromUtf8("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Base::FromUtf8("\xF0\x9F\x98z"), u"\uFFFDz");
  EXPECT_EQ(Base::FromUtf8("\xFF\xFE"), u"\uFFFD\uFFFD");
}

std::string Text(std::string_view text) { return Unescape(text, UnescapeMode::Text); }
std::string Attributes(std::string_view text) { return Unescape(text, UnescapeMode::Attributes); }

TEST(Unescape, ReplacesTheFiveNames) {
  EXPECT_EQ(Text("&lt;&gt;&apos;&quot;&amp;"), "<>'\"&");
  EXPECT_EQ(Attributes("&lt;&gt;&apos;&quot;&amp;"), "<>''&");
}

TEST(Unescape, ReplacesTheAmpersandLastAndOnce) {
  EXPECT_EQ(Text("&amp;amp;"), "&amp;");
  EXPECT_EQ(Text("&amp;lt;"), "&lt;");
  EXPECT_EQ(Text("&amp;#65;"), "&#65;");
}

TEST(Unescape, ReplacesDecimalReferencesOfOneByte) {
  EXPECT_EQ(Text("&#1;&#65;&#255;"),
            "\x01"
            "A\xFF");
  EXPECT_EQ(Text("&#34;"), "\"");
  EXPECT_EQ(Attributes("&#34;&#39;"), "''");
}

TEST(Unescape, LeavesOtherReferencesAsTheyStand) {
  for (const char* text : {"&#0;", "&#256;", "&#999;", "&#1000;", "&#065;", "&#x41;", "&#;", "&#6", "&#65", "&# 65;",
                           "&nbsp;", "&LT;", "&", "&&", "&;", "&#-1;", "&#+5;"}) {
    EXPECT_EQ(Text(text), text);
  }
}

TEST(Unescape, ReplacesNumbersInAscendingOrder) {
  EXPECT_EQ(Text("&#38;#65;"), "A");      // 65 comes after 38,
  EXPECT_EQ(Text("&#38;#33;"), "&#33;");  // 33 before it,
  EXPECT_EQ(Text("&#38;#38;"), "&#38;");  // and what a pass makes is not looked at in it again.
  EXPECT_EQ(Text("&#6&#53;;"), "A");      // A digit,
  EXPECT_EQ(Text("&#65&#59;"), "A");      // The end of one: 65 comes after 59,
  EXPECT_EQ(Text("&#57&#59;"), "&#57;");  // 57 before it.
  EXPECT_EQ(Text("&&#35;65;"), "A");
  EXPECT_EQ(Text("&#38;lt;"), "&lt;");  // Names came before all numbers,
  EXPECT_EQ(Text("&#38;amp;"), "&");    // the ampersand comes last.
}

std::string Escape(std::string_view text) {
  TextBuffer buffer;
  AppendEscaped(buffer, text);
  return std::string(buffer.view());
}

TEST(Escape, ReplacesMarkupAndControlBytes) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const bool is_control = (byte >= 1 && byte <= 8) || byte == 11 || byte == 12 || (byte >= 14 && byte <= 31);
    const std::string expected = is_control    ? "?"
                                 : byte == '&' ? "&amp;"
                                 : byte == '<' ? "&lt;"
                                 : byte == '>' ? "&gt;"
                                               : text;
    EXPECT_EQ(Escape("x" + text + "y"), "x" + expected + "y") << byte;
  }
  EXPECT_EQ(Escape(""), "");
  EXPECT_EQ(Escape("&lt;"), "&amp;lt;");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary
