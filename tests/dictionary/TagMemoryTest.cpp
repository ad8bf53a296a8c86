// What the reader remembers of start tags and names must never show in what it reads.
#include <gtest/gtest.h>

#include <string>

#include "DictionaryTesting.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// The root with these elements in it.
std::string Document(const std::string& content) { return "<IDictionaryRoot>" + content + "</IDictionaryRoot>"; }

struct Case {
  const char* content;
  const char* expected;
};

TEST(TagMemory, TagsThatBeginAlikeAreDifferent) {
  const Case cases[] = {
      {"<g><a k=\"1\">1</a></g><g2><a k=\"12\">2</a></g2>", "g(a[k=\"1\"]'1') g2(a[k=\"12\"]'2')"},
      {"<g><a>1</a></g><h><ab>2</ab></h>", "g(a'1') h(ab'2')"},
      {"<g><a>1</a></g><h><a/></h><i><a>3</a></i>", "g(a'1') h(a) i(a'3')"},
      {"<g><a k=\">\">1</a></g><h><a k=\">\"/></h>", "g(a[k=\">\"]'1') h(a[k=\">\"])"},
      {"<g><a k='1'>1</a></g><h><a k=\"1\">2</a></h>", "g(a[k='1']'1') h(a[k=\"1\"]'2')"},
      {"<g><a k=\"&lt;\">1</a></g><h><a k=\"&lt;\">2</a></h>", "g(a[k=\"<\"]'1') h(a[k=\"<\"]'2')"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(LoadedDump(Document(one.content)), "IDictionaryRoot(" + std::string(one.expected) + ")") << one.content;
  }
}

// Tags of all lengths around the thirty-two bytes that are compared at once, the last one at the end of the input.
TEST(TagMemory, TagsOfAnyLengthAreRecognised) {
  for (std::size_t length = 1; length <= 70; ++length) {
    const std::string name(length, 'n');
    const std::string open = "<" + name + ">1</" + name + ">";
    const std::string content = "<g>" + open + "</g><h>" + open + "</h>";
    const std::string inside = "(" + name + "'1')";
    EXPECT_EQ(LoadedDump(Document(content)), "IDictionaryRoot(g" + inside + " h" + inside + ")");
    for (std::size_t cut = 0; cut <= name.size() + 2; ++cut) {
      const std::string truncated = "<IDictionaryRoot><g>" + open + "</g><h><" + (name + ">1").substr(0, cut);
      EXPECT_EQ(LoadedDump(truncated), "failed: IDictionaryRoot(g" + inside + ")") << truncated;
    }
  }
}

TEST(TagMemory, MoreTagsThanAreRemembered) {
  std::string content;
  std::string expected;
  for (int round = 0; round < 2; ++round) {
    content += "<r" + std::to_string(round) + ">";
    expected += (round == 0 ? "r" : " r") + std::to_string(round) + "(";
    for (int i = 0; i < 3000; ++i) {
      const std::string number = std::to_string(i);
      content += "<t" + number + " k=\"" + number + "\">" + number + "</t" + number + ">";
      expected += (i == 0 ? "t" : " t") + number + "[k=\"" + number + "\"]'" + number + "'";
    }
    content += "</r" + std::to_string(round) + ">";
    expected += ")";
  }
  EXPECT_EQ(LoadedDump(Document(content)), "IDictionaryRoot(" + expected + ")");
}

// Elements of one name at several depths and in elements that are opened again: which of them is the youngest does not
// tell where the first of a parent is.
TEST(TagMemory, SiblingsOfOneNameMergeWhateverWasReadBetween) {
  const Case cases[] = {
      {"<p><n>1</n><q><n>2</n></q><n>3</n></p>", "p(n'3' q(n'2'))"},
      {"<p><n>1</n><q><n>2</n></q><n>3</n><q><n>4</n></q></p>", "p(n'3' q(n'4'))"},
      {"<n>1</n><n><n>2</n></n><n><n><n>3</n></n></n>", "n(n(n'3'))"},
      {"<p><a>1</a></p><n/><p><n>2</n></p><n>3</n><p><n>4</n></p>", "p(a'1' n'4') n'3'"},
      {"<a><b><c>1</c></b></a><c/><a><b><c>2</c><d/></b></a><a><c/></a>", "a(b(c'2' d) c) c"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(LoadedDump(Document(one.content)), "IDictionaryRoot(" + std::string(one.expected) + ")") << one.content;
  }
}

TEST(TagMemory, ManySiblingsMergeOneByOne) {
  std::string content;
  std::string expected;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 2000; ++i) {
      const std::string name = "n" + std::to_string(round == 1 ? 1999 - i : i);
      content += "<" + name + "><x" + std::to_string(round) + "/></" + name + ">";
    }
  }
  for (int i = 0; i < 2000; ++i) expected += (i == 0 ? "n" : " n") + std::to_string(i) + "(x0 x1 x2)";
  EXPECT_EQ(LoadedDump(Document(content)), "IDictionaryRoot(" + expected + ")");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
