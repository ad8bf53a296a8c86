// What is said of a text that does not load, or should not have been written so.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "dictionary/xml/XmlProblems.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

struct Found {
  bool loaded = false;
  FileReport report;
  std::string text;
  Names problems;
  std::uint32_t remarks = 0;
  std::uint32_t first_line = 0;
};

Found Load(const std::string& text) {
  CDictionary dictionary;
  Found found;
  found.loaded = LoadText(dictionary, text);
  const orv_test::PString words;
  EXPECT_TRUE(dictionary.GetLoadReport(&found.report, words.out()));
  found.text = words.str();
  const orv_test::PStringList problems;
  dictionary.GetLoadProblems(problems.out(), &found.remarks, &found.first_line);
  found.problems = problems.vec();
  return found;
}

std::string In(const std::string& content) { return "<IDictionaryRoot>\n" + content + "</IDictionaryRoot>"; }

struct Damage {
  std::string text;
  std::uint32_t line;
  std::uint32_t column;
  std::string what;
};

TEST(XmlProblems, ADamagedTextIsNamedWithItsPlace) {
  const Damage cases[] = {
      {"   \n", 2, 1, "empty"},
      {"A workflow,\nto be written.", 1, 1, "no XML: there is no tag in it"},
      {"<?xml version=\"1.0\"?>\n", 2, 1, "cut off: there is no root element"},
      {"<?xml version=\"1.0\"", 1, 1, "cut off: what begins here has no end"},
      {"<IDictionaryRoot>\n <a>1</a>\n <b>2", 3, 6, "cut off: <b>, opened in line 3, has no end tag"},
      {"<IDictionaryRoot>\n <a __type=\"str\">x</a", 2, 19, "cut off within the end tag of <a>"},
      {"<IDictionaryRoot>\n <a __type=\"str", 2, 12, "cut off: this quote in the tag <a> has no end"},
      {"<IDictionaryRoot>\n <a __type", 2, 2, "cut off within the tag <a>"},
      {"<IDictionaryRoot>\n <", 2, 3, "cut off: <IDictionaryRoot>, opened in line 1, has no end tag"},
      {"<IDictionaryRoot>\n <>x</>", 2, 2, "a tag without a name"},
      {"<IDictionaryRoot>\n <!-- no end </IDictionaryRoot>", 2, 2, "cut off: the comment that begins here has no end"},
      {In(" <a><![CDATA[1]]></a>\n"), 2, 5,
       "a CDATA section is not understood; write its text with &lt; and &amp;; cut off: a CDATA section is taken for a "
       "comment, which \"-->\" would end"},
      {In(" <a>\n  <b></a>\n"), 3, 6,
       "the end tag </a> closes <b>, opened in line 3; cut off: <IDictionaryRoot>, opened in line 1, has no end tag"},
      {std::string("\xFF\xFE<\0a\0>\0", 8), 1, 1, "UTF-16; a dictionary is UTF-8, so save it as that"},
  };
  for (const Damage& damage : cases) {
    const Found found = Load(damage.text);
    SCOPED_TRACE(damage.text);
    EXPECT_FALSE(found.loaded);
    EXPECT_EQ(found.report.failure, FileFailure::Damaged);
    EXPECT_EQ(found.report.line, damage.line);
    EXPECT_EQ(found.report.column, damage.column);
    EXPECT_EQ(found.text.substr(0, damage.what.size()), damage.what) << found.text;
  }
}

TEST(XmlProblems, WhatIsAcceptedAllTheSameIsNamedToo) {
  const std::pair<std::string, Names> cases[] = {
      {In("<a __type=\"str\">\xC3\xA4&lt;&#65;</a>\n"), {}},
      {In("<a></b>\n"), {"line 2, column 4: the end tag </b> closes <a>, opened in line 2"}},
      {In("<a>1</a>\n<a>2</a>\n"),
       {"line 3, column 1: another <a> in <IDictionaryRoot>; the two become one, and the later value counts"}},
      {In("<a k=\"1\" k=\"2\"/>\n"), {"line 2, column 4: two attributes k; the first one counts"}},
      {In("<a.b/>\n"), {"line 2, column 1: <a.b>: no path names it; that takes letters, digits, _ and -"}},
      {In("<a>x & y</a>\n"), {"line 2, column 6: a \"&\" that begins no reference; write it &amp;"}},
      {In("<a>&#x41;</a>\n"), {"line 2, column 4: &#x41; is left as it stands; it is no reference here"}},
      {In("<a>\xE4</a>\n"), {"line 2, column 4: bytes that are no UTF-8; is it another encoding?"}},
      {In("<a>\x01</a>\n"), {"line 2, column 4: a control character; a save writes \"?\" in its place"}},
      {In("<a>x<![CDATA[y-->z</a>\n"),
       {"line 2, column 5: a CDATA section is not understood; write its text with &lt; and &amp;"}},
      {"<a/>", {"line 1, column 1: the root is <a>, not <IDictionaryRoot>; no path leads into it"}},
      {In("") + "\n<b/>", {"line 3, column 1: what follows the root's end tag is not read"}},
      {"text" + In(""), {"line 1, column 1: text before the root element, which is not read"}},
      {"<?xml version=\"1.0\" encoding=\"latin1\"?>" + In(""),
       {"line 1, column 1: the encoding latin1 is not looked at; the bytes are taken for UTF-8"}},
      {"<?xml version=\"1.0\" encoding=\"utf-8\"?>" + In(""), {}},
  };
  for (const auto& [text, problems] : cases) {
    const Found found = Load(text);
    EXPECT_TRUE(found.loaded) << text;
    EXPECT_EQ(found.report.failure, FileFailure::None);
    EXPECT_EQ(found.text, "");
    EXPECT_EQ(found.problems, problems) << text;
  }
}

TEST(XmlProblems, CommentsAndInstructionsAreCounted) {
  const Found found =
      Load("<?xml version=\"1.0\"?>\n<!-- 1 --><?pi?>" + In("<a><!-- 2 --></a>\n") + "\n<!-- 3 -->\n<?pi?>\n");
  EXPECT_TRUE(found.loaded);
  EXPECT_EQ(found.problems, Names());
  EXPECT_EQ(found.remarks, 5u);
  EXPECT_EQ(found.first_line, 2u);
}

TEST(XmlProblems, AreNoMoreThanAHundredAndTheLastOneIsWhyItFails) {
  std::string content;
  for (int i = 0; i < 500; ++i) content += "<a></b>\n";
  EXPECT_EQ(Load(In(content)).problems.size(), XmlProblems::kMost);
  const Found cut = Load("<IDictionaryRoot>\n" + content);
  EXPECT_EQ(cut.problems.size(), XmlProblems::kMost);
  EXPECT_FALSE(cut.loaded);
  EXPECT_EQ(cut.report.line, 2u);
}

TEST(XmlProblems, GoWithTheText) {
  CDictionary dictionary;
  const orv_test::PStringList problems;
  EXPECT_FALSE(dictionary.GetLoadProblems(problems.out(), nullptr, nullptr));
  ASSERT_TRUE(LoadText(dictionary, In("<a></b>\n")));
  EXPECT_TRUE(dictionary.GetLoadProblems(problems.out(), nullptr, nullptr));
  EXPECT_EQ(problems.vec().size(), 1u);
  EXPECT_FALSE(dictionary.GetLoadProblems(nullptr, nullptr, nullptr));
  ASSERT_TRUE(dictionary.Delete("/"));
  EXPECT_FALSE(dictionary.GetLoadProblems(problems.out(), nullptr, nullptr));
}

// The two know the same grammar: texts put together at random from what matters in it.
TEST(XmlProblems, AgreeWithTheReaderOnWhatCanBeRead) {
  static constexpr const char* kPieces[] = {"<",    ">",  "/",   "</",   "a",   "b",    " ",   "\"",      "'",
                                            "=",    "!",  "-->", "<!--", "<!-", "-",    "?",   "<?",      "&amp;",
                                            "</a>", "<a", "<b>", "/>",   "\n",  "k=\"", "k='", "<a k=\"", "x"};
  std::mt19937 random(20);
  int read = 0;
  for (int i = 0; i < 20'000; ++i) {
    std::string text = i % 2 == 0 ? "<a>" : "";
    for (auto n = random() % 12; n > 0; --n) text += kPieces[random() % std::size(kPieces)];
    if (i % 4 == 0) text += "</a>";
    ElementTree tree;
    const bool is_read = LoadTree(tree, text);
    const XmlProblems problems = FindXmlProblems(text);
    ASSERT_EQ(is_read, !problems.fatal.has_value()) << text << (problems.fatal ? "\n" + problems.fatal->what : "");
    read += is_read ? 1 : 0;
  }
  EXPECT_GT(read, 1000);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
