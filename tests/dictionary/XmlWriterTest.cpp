// The saved form, byte for byte.
#include <gtest/gtest.h>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n";
constexpr char kRootTag[] = "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\">";

TEST(XmlWriter, SavesTheEmptyDictionary) {
  CDictionary dictionary;
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) + kRootTag + "</IDictionaryRoot>");
  EXPECT_TRUE(dictionary.Exists("/"));
  EXPECT_EQ(GetAttribute(dictionary, "", "IDictionaryFileVersion"), "2.0.0.0");
}

TEST(XmlWriter, SavesTheTwoEntriesOfTheFormatsExample) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/A/B", std::int32_t{5}));
  ASSERT_TRUE(dictionary.SetValue("/C", "x"));
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) + kRootTag +
                                      "<A>"
                                      "\r\n\t\t<B __type=\"int\">5</B>"
                                      "\r\n\t</A>"
                                      "\r\n\t<C __type=\"str\">x</C>"
                                      "\r\n</IDictionaryRoot>");
}

TEST(XmlWriter, SavesAListUnderItsHolder) {
  CDictionary dictionary;
  ASSERT_TRUE(SetStrings(dictionary, "/L", {"a", "b"}));
  ASSERT_TRUE(SetStrings(dictionary, "/E", {}));
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) + kRootTag +
                                      "<L __type=\"strlist\"><__ListEntries>"
                                      "\r\n\t\t\t<__item0>a</__item0>"
                                      "\r\n\t\t\t<__item1>b</__item1>"
                                      "\r\n\t\t</__ListEntries>"
                                      "\r\n\t</L>"
                                      "\r\n\t<E __type=\"strlist\"><__ListEntries></__ListEntries>"
                                      "\r\n\t</E>"
                                      "\r\n</IDictionaryRoot>");
}

TEST(XmlWriter, PutsNoLayoutBehindAStartTagWithTextOrAttributes) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><t>text<c/></t><a k=\"1\"><c/></a><p><c/></p></IDictionaryRoot>"));
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) + kRootTag +
                                      "<t>text<c></c>\r\n\t</t>"
                                      "\r\n\t<a k=\"1\"><c></c>\r\n\t</a>"
                                      "\r\n\t<p>\r\n\t\t<c></c>\r\n\t</p>"
                                      "\r\n</IDictionaryRoot>");
}

TEST(XmlWriter, SavesARootOfAnotherNameAsItIs) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<other><a>1</a></other>"));
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) + "<other>\r\n\t<a>1</a>\r\n</other>");
}

TEST(XmlWriter, SavingRewritesTheRootsAttributesAndKeepsTheOthers) {
  CDictionary dictionary;
  ASSERT_TRUE(
      LoadText(dictionary, "<IDictionaryRoot  k='1'   IDictionaryFileVersion='1.0' l=\"2\" ></IDictionaryRoot>"));
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) +
                                      "<IDictionaryRoot k=\"1\" IDictionaryFileVersion=\"2.0.0.0\" l=\"2\">"
                                      "</IDictionaryRoot>");
}

TEST(XmlWriter, EscapesTextsAndAttributes) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/t", "a<b&c>\"'\a\x1f\x7f\t\xc3\xa4"));
  ASSERT_TRUE(dictionary.SetAttribute("/t", "k", "<&>\x01'"));
  EXPECT_EQ(SaveText(dictionary), std::string(kDeclaration) + kRootTag +
                                      "<t __type=\"str\" k=\"&lt;&amp;&gt;?'\">"
                                      "a&lt;b&amp;c&gt;\"'??\x7f\t\xc3\xa4</t>"
                                      "\r\n</IDictionaryRoot>");
  // In memory nothing has changed.
  EXPECT_EQ(GetString(dictionary, "/t"), "a<b&c>\"'\a\x1f\x7f\t\xc3\xa4");
}

TEST(XmlWriter, WritesElementNamesAsTheyAre) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><?pi x=\"1\"/><a&b/></IDictionaryRoot>"));
  EXPECT_EQ(SaveText(dictionary),
            std::string(kDeclaration) + kRootTag + "<?pi x=\"1\"></?pi>\r\n\t<a&b></a&b>\r\n</IDictionaryRoot>");
}

// Only for a text that is quoted by apostrophes does a value with one double quote make the file unreadable.
TEST(XmlWriter, AValueWithADoubleQuoteIsWrittenInApostrophes) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "5\""));
  EXPECT_EQ(GetAttribute(dictionary, "/a", "k"), "5\"");
  const std::string text = SaveText(dictionary);
  EXPECT_EQ(text, std::string(kDeclaration) + kRootTag + "<a k='5\"'></a>\r\n</IDictionaryRoot>");
  CDictionary other;
  EXPECT_FALSE(LoadText(other, text));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
