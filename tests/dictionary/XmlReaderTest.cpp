// How files are read: every rule of the format with the odd spellings that it allows.
#include <gtest/gtest.h>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

struct Case {
  const char* text;
  const char* dump;
};

void Check(std::initializer_list<Case> cases) {
  for (const Case& item : cases) EXPECT_EQ(LoadedDump(item.text), item.dump) << item.text;
}

TEST(XmlReader, SkipsAPrologThatEndsEachPartAtItsFirstBracket) {
  Check({{"<?xml version=\"1.0\"?>\r\n\r\n<r>1</r>", "r'1'"},
         {"junk <!-- c --> junk <r>1</r>", "r'1'"},
         {"<!-- > <x>1</x> -->", "x'1'"},
         {"<!DOCTYPE r [<!ENTITY e \"x\">]><r/>", "r"}});
}

TEST(XmlReader, FailsWithoutAnElement) {
  Check({{"", "failed: "},
         {" ", "failed: "},
         {"<", "failed: "},
         {"<?xml", "failed: "},
         {"<?xml?>", "failed: "},
         {"<!-- x", "failed: "},
         {"< r>1</r>", "failed: "},
         {"<>", "failed: "},
         {"</a>", "failed: "},
         {"<\t", "failed: "}});
}

TEST(XmlReader, ReadsElementsWithTextAndAttributes) {
  Check({{"<r><a>1</a><b k=\"v\">2</b></r>", "r(a'1' b[k=\"v\"]'2')"},
         {"<r\n k='v'\t>x</r>", "r[k='v'\t]'x'"},
         {"<a k=\"1\" >x</a>", "a[k=\"1\" ]'x'"},
         {"<a   >x</a>", "a'x'"},
         {"<r>?pi <?pi x?></?pi></r>", "r'?pi'(?pi[x?])"}});
}

TEST(XmlReader, AnEmptyElementNeedsNoEndTag) {
  Check({{"<a/>", "a"},
         {"<a />", "a"},
         {"<a k=\"1\"/>", "a[k=\"1\"]"},
         {"<a k=\"1\" />", "a[k=\"1\" ]"},
         {"<a/ >", "a"},
         {"<a/x y=\"1\">", "a"},
         {"<a /x>1</a>", "a[/x]'1'"},
         {"<a k=\"/>\">1</a>", "a[k=\"/>\"]'1'"},
         {"<a k='/>'>1</a>", "a[k=']"},
         {"<a k=1/2/>1</a>", "a[k=1/2]"},
         {"<r><a/><b/></r>", "r(a b)"},
         {"<a/", "failed: "},
         {"<a /", "failed: "}});
}

TEST(XmlReader, OnlyDoubleQuotesProtectABracket) {
  Check({{"<a k=\"1>2\">x</a>", "a[k=\"1>2\"]'x'"},
         {"<a k='1>2'>x</a>", "a[k='1]'2'>x'"},
         {"<r><a k='5\"'>x</a></r>", "failed: "}});
}

TEST(XmlReader, KeepsTheTextOfAnElementWithAttributesAndTrimsAllOthers) {
  Check({{"<a k=\"1\">  a  </a>", "a[k=\"1\"]'  a  '"},
         {"<a>  a  </a>", "a'a'"},
         {"<a>\t\n\v\f\r a b \r\n</a>", "a'a b'"},
         {"<a>\x85 a \xA0</a>", "a'\x85 a \xA0'"},
         {"<a>&#32;x</a>", "a'x'"},
         {"<a k=\"1\">\r\n<b/>\r\n</a>", "a[k=\"1\"]'\r\n'(b)"}});
}

TEST(XmlReader, TrimsThePiecesOfTextBehindAChild) {
  Check({{"<a k=\"1\"> x <b/> y z <c/>  <d/> w </a>", "a[k=\"1\"]' x y zw'(b c d)"},
         {"<a> x <b/> y </a>", "a'x y'(b)"},
         {"<a k=\"1\"><b/>&#32;y</a>", "a[k=\"1\"]' y'(b)"}});
}

TEST(XmlReader, ACommentIsNoChild) {
  Check({{"<a k=\"1\">x <!-- c --> y</a>", "a[k=\"1\"]'x  y'"},
         {"<a k=\"1\"><b/> x <!-- c --> y </a>", "a[k=\"1\"]'xy'(b)"},
         {"<r><a/><!-- x --><b/></r>", "r(a b)"}});
}

TEST(XmlReader, ACommentEndsAtTwoHyphensAndABracket) {
  Check({{"<r><!--x--><a/></r>", "r(a)"},
         {"<r><!----><a/></r>", "r(a)"},
         {"<r><!--><a/></r>", "r(a)"},
         {"<r><!---><a/></r>", "r(a)"},
         {"<r><!-- ---><a/></r>", "r(a)"},
         {"<r><!-- - -> > --><a/></r>", "r(a)"},
         {"<r><!-- <b> </b> --><a/></r>", "r(a)"},
         {"<r><!-><a/></r>", "failed: "},
         {"<r><!-- x ->", "failed: "}});
}

TEST(XmlReader, CharacterDataSectionsAreNotUnderstood) {
  Check({{"<r><a>1</a><![CDATA[<x>]]><b>2</b></r>", "failed: r(a'1')"}, {"<r><![CDATA[x]]> --><a/></r>", "r(a)"}});
}

TEST(XmlReader, TheNameInAnEndTagIsNotCompared) {
  Check({{"<a></b>", "a"}, {"<a></>", "a"}, {"<r><a>1</r><b>2</x></y>", "r(a'1' b'2')"}, {"<a></a junk=\">", "a"}});
}

TEST(XmlReader, WhateverFollowsTheRootIsIgnored) { Check({{"<a>1</a><b>2", "a'1'"}, {"<a/>\xFF<", "a"}}); }

TEST(XmlReader, MergesSiblingsOfOneName) {
  Check({{"<r><a k=\"1\">x<b>1</b></a><c/><a>y<d/></a></r>", "r(a'y'(b'1' d) c)"},
         {"<r><a k=\"1\">x</a><a/></r>", "r(a)"},
         {"<r><a><b>1</b></a><a><b>2</b><c/></a></r>", "r(a(b'2' c))"}});
}

TEST(XmlReader, NamesAreReadAsTheyStand) {
  Check({{"<r><a.b>1</a.b><a&amp;/><a<b/></r>", "r(a.b'1' a&amp; a<b)"}, {"<r><a\"b='>1</></r>", "r(a\"b=''1')"}});
}

TEST(XmlReader, UnescapesTextsAndAttributesOfEitherSpelling) {
  Check({{"<a k=\"&lt;&amp;&quot;\">&lt;&amp;&quot;</a>", "a[k=\"<&'\"]'<&\"'"},
         {"<a k=\"&lt;\"/>", "a[k=\"<\"]"},
         {"<a>&#38;#65;</a>", "a'A'"},
         {"<a>&amp;amp;</a>", "a'&amp;'"}});
}

TEST(XmlReader, AnElementEntersTheTreeAtItsEndTag) {
  Check({{"<IDictionaryRoot><A><B>1</B>", "failed: IDictionaryRoot(A(B'1'))"},
         {"<IDictionaryRoot><A>12", "failed: "},
         {"<r k=\"1\">x<a j=\"2\">y<b/>z", "failed: r(a(b))"},
         {"<r><a>1</a", "failed: "},
         {"<r><a>1</a><b", "failed: r(a'1')"},
         {"<r><a>1</a><", "failed: r(a'1')"},
         {"<r><a>1</a></r", "failed: r(a'1')"}});
}

TEST(XmlReader, AByteOfZeroIsAByteLikeOthers) {
  using std::string_literals::operator""s;
  EXPECT_EQ(LoadedDump("<r>\0<a\0>\0</a></r>"s), "r'\0'(a\0'\0')"s);
}

TEST(LoadedDictionary, ARootOfAnotherNameIsReachedByNoPath) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<root><a __type=\"str\">1</a></root>"));
  EXPECT_FALSE(dictionary.Exists(""));
  EXPECT_FALSE(dictionary.Exists("/a"));
  EXPECT_FALSE(dictionary.Exists("/root/a"));
  EXPECT_FALSE(dictionary.SetValue("/b", "x"));
  EXPECT_FALSE(dictionary.SetAttribute("/b", "k", "x"));
  EXPECT_FALSE(dictionary.Delete("/"));
  EXPECT_EQ(GetEntries(dictionary, "/"), Names{kFailed});
  EXPECT_EQ(GetPaths(dictionary, "/"), Names{kFailed});
  EXPECT_TRUE(LoadText(dictionary, "<IDictionaryRoot/>"));
  EXPECT_TRUE(dictionary.SetValue("/b", "x"));
}

TEST(LoadedDictionary, AnOddNameIsReadableAndNotWritable) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a.b __type=\"str\">1</a.b></IDictionaryRoot>"));
  EXPECT_EQ(GetString(dictionary, "/a.b"), "1");
  EXPECT_FALSE(dictionary.SetValue("/a.b", "2"));
  EXPECT_FALSE(dictionary.Delete("/a.b"));
  EXPECT_EQ(GetString(dictionary, "/a.b"), "1");
}

TEST(LoadedDictionary, OuterBlanksSurviveInAStringAndNotInAListItem) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/s", "  a  "));
  ASSERT_TRUE(SetStrings(dictionary, "/l", {"  a  "}));
  ASSERT_TRUE(LoadText(dictionary, SaveText(dictionary)));
  EXPECT_EQ(GetString(dictionary, "/s"), "  a  ");
  EXPECT_EQ(GetStrings(dictionary, "/l"), Names{"a"});
}

TEST(LoadedDictionary, ControlBytesComeBackAsQuestionMarks) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/s", "a<b&c\a"));
  EXPECT_EQ(GetString(dictionary, "/s"), "a<b&c\a");
  ASSERT_TRUE(LoadText(dictionary, SaveText(dictionary)));
  EXPECT_EQ(GetString(dictionary, "/s"), "a<b&c?");
}

TEST(LoadedDictionary, AnEmptyTextIsRefusedAndABrokenOneIsNot) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "1"));
  EXPECT_FALSE(dictionary.LoadFromText("", 0));
  EXPECT_FALSE(dictionary.LoadFromText(nullptr, 5));
  EXPECT_EQ(GetString(dictionary, "/a"), "1");
  EXPECT_FALSE(LoadText(dictionary, " "));
  EXPECT_FALSE(dictionary.Exists("/"));
}

TEST(LoadedDictionary, KeepsTheFilesTextsWhileItsContentChanges) {
  CDictionary dictionary;
  std::string text =
      "<IDictionaryRoot><a __type=\"str\">a long text of the file</a><b __type=\"str\">other</b></IDictionaryRoot>";
  ASSERT_TRUE(LoadText(dictionary, text));
  text.assign(text.size(), '#');
  ASSERT_TRUE(dictionary.SetValue("/b", "another text, longer than before"));
  EXPECT_EQ(GetString(dictionary, "/a"), "a long text of the file");
  EXPECT_EQ(GetString(dictionary, "/b"), "another text, longer than before");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
