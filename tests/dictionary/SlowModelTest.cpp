// The dictionary against a slow and obvious model of it: random operations and random files, the same in every run.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "ComparedStore.h"
#include "DictionaryTesting.h"
#include "SlowModel.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

class Chance {
 public:
  explicit Chance(std::uint32_t seed) : engine_(seed) {}
  // From 0 to `count` - 1; the same on every platform.
  std::size_t Below(std::size_t count) { return engine_() % count; }
  template <class Choices>
  auto& Of(const Choices& choices) {
    return choices[Below(std::size(choices))];
  }
  char Of(std::string_view letters) { return letters[Below(letters.size())]; }

 private:
  std::mt19937 engine_;
};

const char* const kComponents[] = {"a",       "b",      "A", "x1", "y_", "-", "IDictionaryRoot", "__ListEntries",
                                   "__item0", "__item1"};
const char* const kTexts[] = {"", " ", "x", "  a  ", "5", "-5", "a<b&c>", "\"'", "&amp;", "\x01\r\n", "&#65;"};
const char* const kOddPaths[] = {"", "/", "//", "a b", "/a.b", "/a/b c/d", "a//b/", "//a", "\xC3\xA4"};
const char* const kAttributeNames[] = {"k", "l", "__type", "IDictionaryFileVersion", "_isRedirection"};
const char* const kAttributeValues[] = {"", "1", "int", "Str", "a'b", "a\"b", "<&>", "0"};

std::string RandomPath(Chance& chance) {
  if (chance.Below(12) == 0) return chance.Of(kOddPaths);
  std::string path;
  for (std::size_t i = 0, depth = 1 + chance.Below(4); i < depth; ++i)
    path += std::string("/") + chance.Of(kComponents);
  return path;
}

const char* const kFiles[] = {
    "<IDictionaryRoot><a.b __type=\"str\">x</a.b><b __type=\"Str\" __type=\"int\" k='1'> y <a/> </b></IDictionaryRoot>",
    ("<IDictionaryRoot><a __type=\"strlist\" _isRedirection=\" 2x\"><__ListEntries><__item0>/A</__item0><__item1>/a.b"
     "</__item1><__item3>/b</__item3></__ListEntries></a><a.b/><A __type=\"Binary\">eA==</A></IDictionaryRoot>"),
    "<other><a __type=\"str\">x</a></other>"};

// One line of ComparedStore.
std::string RandomLine(Chance& chance) {
  if (chance.Below(50) == 0) return std::string("<") + chance.Of(kFiles);
  const char operation = chance.Of("ssiibyulllaaAAttTddeccmmggnnffFrr");
  std::string line = operation + RandomPath(chance);
  const auto add = [&](const std::string& argument) { line += "\t" + argument; };
  switch (operation) {
    case 's':
    case 'u':
    case 'y':
      add(chance.Of(kTexts));
      break;
    case 'i':
      add(std::to_string(static_cast<int>(chance.Below(2000)) - 1000));
      break;
    case 'b':
      add(chance.Of(kAttributeValues));
      break;
    case 'l':
      for (std::size_t i = chance.Below(5); i > 0; --i) add(chance.Of(kTexts));
      break;
    case 't':
      for (std::size_t i = chance.Below(4); i > 0; --i) add(RandomPath(chance));
      break;
    case 'a':
      add(chance.Of(kAttributeNames));
      add(chance.Of(kAttributeValues));
      break;
    case 'n':
      add(chance.Below(4) == 0 ? "a b" : chance.Of(kComponents));
      break;
    default:
      add(chance.Below(2) == 0 ? RandomPath(chance) : chance.Of(kAttributeNames));
  }
  return line;
}

TEST(SlowModel, AgreesOnRandomOperations) {
  Chance chance(1);
  for (int round = 0; round < 80 && !HasFailure(); ++round) {
    ComparedStore store;
    std::string lines;
    for (int step = 0; step < 80 && !HasFailure(); ++step) {
      const std::string line = RandomLine(chance);
      lines += line + "\n";
      EXPECT_NO_THROW(store.Execute(line)) << lines;
    }
    EXPECT_NO_THROW(store.SaveAndLoad(true)) << lines;
  }
}

// Pieces of which both files that load and files that fail are made.
const char* const kPieces[] = {"<a>",
                               "</a>",
                               "<b>",
                               "</b>",
                               "<b k=\"1\">",
                               "<c/>",
                               "<c k='1'/>",
                               "</>",
                               "<a ",
                               ">",
                               "/",
                               "/>",
                               "<",
                               "\"",
                               "'",
                               "=",
                               "k",
                               " ",
                               "\r\n\t",
                               "x",
                               " y ",
                               "&amp;",
                               "&lt;",
                               "&gt;",
                               "&quot;",
                               "&apos;",
                               "&#34;",
                               "&#38;",
                               "#65;",
                               "&#65;",
                               "&#32;",
                               "&#56;",
                               "&#57;",
                               "&#59;",
                               "&#35;",
                               "&",
                               "#38;",
                               "lt;",
                               "amp;",
                               "&#0;",
                               "&#255;",
                               "&#256;",
                               "&#065;",
                               "<!--",
                               "-->",
                               "--",
                               "-",
                               "<!>",
                               "<!",
                               "!",
                               "<?pi ?>",
                               "?",
                               "\x01",
                               "\xC3\xA4",
                               "<d>t</d>",
                               "</a >",
                               "<b\tl=\"2\" >",
                               "<a k=\"&quot;\">",
                               "<__ListEntries>"};

std::string RandomFile(Chance& chance) {
  std::string text;
  if (chance.Below(3) == 0) text += "<?xml version=\"1.0\"?>\r\n<!-- c -->";
  if (chance.Below(10) > 0) text += chance.Below(5) == 0 ? "<root>" : "<IDictionaryRoot>";
  for (std::size_t i = 0, count = chance.Below(30); i < count; ++i) text += chance.Of(kPieces);
  for (std::size_t i = 0, count = chance.Below(6); i < count; ++i) text += "</>";
  return text;
}

TEST(SlowModel, AgreesOnRandomFiles) {
  Chance chance(2);
  int loaded = 0;
  for (int round = 0; round < 15000 && !HasFailure(); ++round) {
    const std::string text = RandomFile(chance);
    ElementTree tree;
    SlowModel model;
    const bool is_loaded = LoadTree(tree, text);
    EXPECT_EQ(is_loaded, model.Load(text)) << text;
    EXPECT_EQ(Dump(tree), model.Dump()) << text;
    loaded += is_loaded;
    CDictionary dictionary;
    LoadText(dictionary, text);
    EXPECT_EQ(SaveText(dictionary), model.Save()) << text;
  }
  // Both kinds of files are met often enough.
  EXPECT_GT(loaded, 1500);
  EXPECT_LT(loaded, 13500);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
