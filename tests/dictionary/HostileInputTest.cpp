// Input made to break the reader: it loads or fails, in time and memory that grow with its size, and nothing recurses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// How large the largest text is: under a sanitizer the same code runs on a fifth of it, for the time it takes; in a
// 32-bit address space too, where text, tree and saved text of 100 MB would leave no room.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kLargeSize = 20'000'000;
#else
constexpr std::size_t kLargeSize = sizeof(void*) == 4 ? 20'000'000 : 100'000'000;
#endif

std::string Repeat(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

// Uses every operation that walks a tree.
void Exercise(IDictionary& dictionary) {
  GetEntries(dictionary, "/");
  GetPaths(dictionary, "/");
  GetStrings(dictionary, "/a");
  const std::string text = SaveText(dictionary);
  if (dictionary.Exists("/")) {
    EXPECT_TRUE(dictionary.SetValue("/new", "x"));
    EXPECT_EQ(GetString(dictionary, "/new"), "x");
  }
  dictionary.Delete("/a");
}

constexpr char kValidFile[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n"
    "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><a>\r\n\t\t<b __type=\"int\">5</b>"
    "<!-- note -->\r\n\t\t<c __type='str' k=\"&quot;&#34;>\"> x &amp;&#38;#65; </c></a>"
    "<l __type=\"strlist\"><__ListEntries>\r\n\t\t\t<__item0>a</__item0><__item1/></__ListEntries></l>"
    "t<e/>u\r\n</IDictionaryRoot>";

TEST(HostileInput, EveryPrefixOfAFileFailsAndOnlyTheWholeLoads) {
  const std::string file = kValidFile;
  for (std::size_t size = 1; size <= file.size(); ++size) {
    CDictionary dictionary;
    // A copy of exactly this size, so that a byte too far is noticed.
    const std::string prefix(file, 0, size);
    EXPECT_EQ(LoadText(dictionary, prefix), size == file.size()) << prefix;
    Exercise(dictionary);
  }
}

TEST(HostileInput, RandomBytesLoadOrFail) {
  std::mt19937 engine(4);
  const std::string alphabet = "<>/!?-&;#= \"'\r\nak12\x01\xFF";
  int loaded = 0;
  for (int round = 0; round < 10000; ++round) {
    std::string bytes(engine() % 80, '\0');
    // Half of them any bytes, half of the bytes that mean something.
    for (char& byte : bytes) byte = round % 2 == 0 ? static_cast<char>(engine()) : alphabet[engine() % alphabet.size()];
    CDictionary dictionary;
    loaded += LoadText(dictionary, "<" + bytes);
    Exercise(dictionary);
  }
  EXPECT_GT(loaded, 0);
}

TEST(HostileInput, MutatedFilesLoadOrFail) {
  std::mt19937 engine(5);
  const std::string file = kValidFile;
  int loaded = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string bytes = file;
    for (std::size_t i = 0, count = 1 + engine() % 4; i < count; ++i) {
      const std::size_t at = engine() % bytes.size();
      const std::size_t size = std::min<std::size_t>(engine() % 20, bytes.size() - at);
      switch (engine() % 4) {
        case 0:
          bytes[at] = static_cast<char>(engine());
          break;
        case 1:
          bytes.erase(at, size);
          bytes += ' ';
          break;
        case 2:
          bytes.insert(at, bytes.substr(engine() % bytes.size(), size));
          break;
        default:
          bytes[at] = "<>/\"&-!"[engine() % 7];
      }
    }
    CDictionary dictionary;
    loaded += LoadText(dictionary, bytes);
    Exercise(dictionary);
  }
  EXPECT_GT(loaded, 100);
  EXPECT_LT(loaded, 2900);
}

// The saved form indents by depth, so that this depth is not saved: its text would be larger by 10^5.
TEST(HostileInput, AHundredThousandNestedElements) {
  constexpr std::size_t kDepth = 100'000;
  CDictionary dictionary;
  EXPECT_FALSE(LoadText(dictionary, "<IDictionaryRoot>" + Repeat("<a>", kDepth)));
  EXPECT_FALSE(dictionary.Exists("/"));
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot>" + Repeat("<a>", kDepth) + "x" + Repeat("</a>", kDepth + 1)));
  EXPECT_TRUE(dictionary.Exists(Repeat("/a", kDepth).c_str()));
  EXPECT_FALSE(dictionary.Exists(Repeat("/a", kDepth + 1).c_str()));
  EXPECT_TRUE(dictionary.SetValue((Repeat("/a", kDepth) + "/b").c_str(), "x"));
  EXPECT_TRUE(dictionary.Delete(Repeat("/a", kDepth / 2).c_str()));
  EXPECT_TRUE(dictionary.Exists(Repeat("/a", kDepth / 2 - 1).c_str()));
  EXPECT_FALSE(dictionary.Exists(Repeat("/a", kDepth / 2).c_str()));
  EXPECT_TRUE(dictionary.Delete("/"));
}

TEST(HostileInput, TwoThousandNestedElementsAreSavedAndEnumerated) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue(Repeat("/a", 2000).c_str(), "x"));
  const std::string text = SaveText(dictionary);
  EXPECT_GT(text.size(), 4'000'000u);
  CDictionary other;
  ASSERT_TRUE(LoadText(other, text));
  EXPECT_EQ(SaveText(other), text);
  EXPECT_EQ(GetPaths(other, "").size(), 2001u);
}

TEST(HostileInput, APathOfTwentyThousandComponents) {
  const std::string path = Repeat("/component", 20'000);
  CDictionary dictionary;
  EXPECT_FALSE(dictionary.Exists(path.c_str()));
  ASSERT_TRUE(dictionary.SetValue(path.c_str(), "x"));
  EXPECT_EQ(GetString(dictionary, path.c_str()), "x");
  EXPECT_FALSE(dictionary.SetValue((path + "/a b").c_str(), "x"));
  EXPECT_TRUE(dictionary.Delete("/component"));
  EXPECT_EQ(GetEntries(dictionary, "/"), Names());
}

TEST(HostileInput, AHundredThousandChildren) {
  constexpr int kCount = 100'000;
  std::string text = "<IDictionaryRoot><w>";
  for (int i = 0; i < kCount; ++i) text += "<n" + std::to_string(i) + " __type=\"int\">" + std::to_string(i) + "</>";
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, text + "</></>"));
  for (int i = 0; i < kCount; ++i) {
    const std::string path = "/w/n" + std::to_string(i);
    std::int32_t value = -1;
    ASSERT_TRUE(dictionary.GetValue(path.c_str(), &value));
    ASSERT_EQ(value, i);
    if (i % 2 == 0) {
      ASSERT_TRUE(dictionary.Delete(path.c_str()));
    }
  }
  EXPECT_EQ(GetEntries(dictionary, "/w").size(), kCount / 2u);
  CDictionary other;
  ASSERT_TRUE(LoadText(other, SaveText(dictionary)));
  EXPECT_EQ(GetEntries(other, "/w").front(), "n1");
}

TEST(HostileInput, AHundredThousandItemsInAnyOrder) {
  constexpr std::size_t kCount = 100'000;
  std::string text = "<IDictionaryRoot><l __type=\"strlist\"><__ListEntries>";
  for (std::size_t i = kCount; i > 0; --i) text += "<__item" + std::to_string(i - 1) + ">" + std::to_string(i) + "</>";
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, text + "</></></>"));
  const Names items = GetStrings(dictionary, "/l");
  ASSERT_EQ(items.size(), kCount);
  EXPECT_EQ(items.front(), "1");
  EXPECT_EQ(items.back(), std::to_string(kCount));
  ASSERT_TRUE(SetStrings(dictionary, "/l", items));
  ASSERT_TRUE(LoadText(dictionary, SaveText(dictionary)));
  EXPECT_EQ(GetStrings(dictionary, "/l"), items);
}

// Texts of one kind each, for which a careless reader would need quadratic time or memory.
TEST(HostileInput, OneConstructRepeatedManyTimes) {
  constexpr std::size_t kSize = 400'000;
  for (const char* const piece : {"<",
                                  ">",
                                  "/",
                                  "<!",
                                  "<!-",
                                  "<!--",
                                  "-",
                                  "&",
                                  "&#",
                                  "&#38;",
                                  "&#38;#38;",
                                  "&amp;",
                                  "<a",
                                  "<a ",
                                  "<a k=\"",
                                  "<a>",
                                  "</a>",
                                  "<a/>",
                                  "<a></b>",
                                  "x<b/>",
                                  "x<!---->",
                                  "\"",
                                  "'",
                                  " ",
                                  "<a k=\"\">",
                                  "=\"\" ",
                                  "<a>&#1;&#255;",
                                  "&#38;#51;&#56;;",
                                  "\xFF",
                                  "?"}) {
    const std::string text = Repeat(piece, kSize / std::strlen(piece));
    CDictionary dictionary;
    LoadText(dictionary, text);
    // Only an end tag ends the root.
    EXPECT_EQ(LoadText(dictionary, "<IDictionaryRoot>" + text), std::string_view(piece) == "</a>") << piece;
    LoadText(dictionary, "<IDictionaryRoot k=\"1\">" + text + "</></></></>");
    LoadText(dictionary, "<IDictionaryRoot><a " + text + "/></IDictionaryRoot>");
    dictionary.SetAttribute("/a", "k", "v");
    GetAttribute(dictionary, "/a", "l");
  }
}

TEST(HostileInput, ALargeFileOfEntries) {
  std::string text = "<IDictionaryRoot>";
  text.reserve(kLargeSize + 100);
  int groups = 0;
  while (text.size() < kLargeSize) {
    text += "<group" + std::to_string(groups++) + ">";
    for (int i = 0; i < 1000; ++i) {
      text += "\r\n\t<entry" + std::to_string(i) +
              " __type=\"str\">the value &amp; all of its text: " + std::to_string(i) + "</>";
    }
    text += "</>";
  }
  text += "</>";
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, text));
  const std::string path = "/group" + std::to_string(groups - 1) + "/entry999";
  EXPECT_EQ(GetString(dictionary, path.c_str()), "the value & all of its text: 999");
  EXPECT_EQ(GetEntries(dictionary, "/").size(), static_cast<std::size_t>(groups));
  EXPECT_GT(SaveText(dictionary).size(), kLargeSize / 2);
}

TEST(HostileInput, ALargeFileOfOneText) {
  const std::string value = Repeat("0123456789abcde&", kLargeSize / 16);
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a __type=\"str\">" + value + "</a></IDictionaryRoot>"));
  EXPECT_EQ(GetString(dictionary, "/a"), value);
}

// A dictionary that lives long meets ever new names and attributes; it does not keep those that are gone.
TEST(HostileInput, NamesAndAttributesThatAreGoneLeaveNothingWrong) {
  CDictionary dictionary;
  for (int i = 0; i < 20'000; ++i) {
    const std::string name = "n" + std::to_string(i);
    const std::string path = "/queue/" + name;
    ASSERT_TRUE(dictionary.SetValue(path.c_str(), std::int32_t{i}));
    ASSERT_TRUE(dictionary.SetAttribute("/kept", "k", name.c_str()));
    ASSERT_TRUE(dictionary.SetAttribute(path.c_str(), "k", name.c_str()));
    if (i >= 30) {
      const std::string old = "/queue/n" + std::to_string(i - 30);
      ASSERT_EQ(GetAttribute(dictionary, old.c_str(), "k"), "n" + std::to_string(i - 30));
      ASSERT_TRUE(dictionary.Delete(old.c_str()));
    }
  }
  EXPECT_EQ(GetEntries(dictionary, "/queue").size(), 30u);
  EXPECT_EQ(GetAttribute(dictionary, "/kept", "k"), "n19999");
  std::int32_t value = 0;
  EXPECT_TRUE(dictionary.GetValue("/queue/n19990", &value));
  EXPECT_EQ(value, 19990);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
