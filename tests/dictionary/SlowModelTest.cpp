// The dictionary against a slow and obvious model of it: random operations and random files, the same in every run.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "DictionaryTesting.h"
#include "SlowModel.h"
#include "dictionary/DictionaryObject.h"

namespace OrvWorkFlow::DictionaryTesting {
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

 private:
  std::mt19937 engine_;
};

const char* const kComponents[] = {"a",       "b",      "A", "x1", "y_", "-", "IDictionaryRoot", "__ListEntries",
                                   "__item0", "__item1"};
const char* const kTexts[] = {"", " ", "x", "  a  ", "5", "-5", "a<b&c>", "\"'", "&amp;", "\x01\r\n", "&#65;"};
const char* const kOddPaths[] = {"", "/", "//", "a b", "/a.b", "/a/b c/d", "a//b/", "//a", "\xC3\xA4"};
const char* const kAttributeNames[] = {"k", "l", "__type", "IDictionaryFileVersion"};
const char* const kAttributeValues[] = {"", "1", "int", "Str", "a'b", "a\"b", "<&>", "0"};

std::string RandomPath(Chance& chance) {
  if (chance.Below(12) == 0) return chance.Of(kOddPaths);
  std::string path;
  for (std::size_t i = 0, depth = 1 + chance.Below(4); i < depth; ++i)
    path += std::string("/") + chance.Of(kComponents);
  return path;
}

Names RandomStrings(Chance& chance) {
  Names strings(chance.Below(5));
  for (std::string& string : strings) string = chance.Of(kTexts);
  return strings;
}

// One step on both stores, with the results compared.
class Pair {
 public:
  explicit Pair(Chance& chance) : chance_(chance) {}

  void Write() {
    const std::string path = RandomPath(chance_);
    const char* const p = path.c_str();
    switch (chance_.Below(12)) {
      case 0: {
        const std::string text = chance_.Of(kTexts);
        EXPECT_EQ(real_.SetValue(p, text.c_str()), model_.SetText(path, "str", text)) << path;
        break;
      }
      case 1: {
        const auto value = static_cast<std::int32_t>(chance_.Below(2000)) - 1000;
        EXPECT_EQ(real_.SetValue(p, value), model_.SetText(path, "int", std::to_string(value))) << path;
        break;
      }
      case 2: {
        const bool value = chance_.Below(2) == 1;
        EXPECT_EQ(real_.SetValue(p, value), model_.SetText(path, "Bool", value ? "1" : "0")) << path;
        break;
      }
      case 3:
      case 4: {
        const Names items = RandomStrings(chance_);
        EXPECT_EQ(SetStrings(real_, p, items), model_.SetList(path, "strlist", items)) << path;
        break;
      }
      case 5: {
        const std::string name = chance_.Of(kAttributeNames);
        const std::string value = chance_.Of(kAttributeValues);
        EXPECT_EQ(real_.SetAttribute(p, name.c_str(), value.c_str()), model_.SetAttribute(path, name, value)) << path;
        break;
      }
      case 6:
      case 7:
        EXPECT_EQ(real_.Delete(p), model_.Delete(path)) << path;
        break;
      default:
        WriteSubtree(path);
    }
  }

  void WriteSubtree(const std::string& path) {
    const char* const p = path.c_str();
    const std::string other = RandomPath(chance_);
    const char* const o = other.c_str();
    SCOPED_TRACE(path + " and " + other);
    switch (chance_.Below(6)) {
      case 0:
        EXPECT_EQ(real_.CopySubtree(p, o), model_.CopySubtree(path, other));
        break;
      case 1:
        EXPECT_EQ(real_.MoveSubtree(p, o), model_.MoveSubtree(path, other));
        break;
      case 2:
      case 3:
        EXPECT_EQ(real_.MergeSubtree(&real_, p, o), model_.MergeSubtree(path, other));
        break;
      case 4: {
        const std::string name = chance_.Below(4) == 0 ? "a b" : chance_.Of(kComponents);
        EXPECT_EQ(real_.Rename(p, name.c_str()), model_.Rename(path, name));
        break;
      }
      default:
        EXPECT_EQ(real_.Clear(p), model_.Clear(path));
    }
  }

  void Read() {
    const std::string path = RandomPath(chance_);
    const char* const p = path.c_str();
    EXPECT_EQ(real_.Exists(p), model_.Exists(path)) << path;
    EXPECT_EQ(real_.GetValueType(p), model_.GetType(path)) << path;
    std::string text = kFailed;
    model_.GetText(path, ValueType::String, text);
    EXPECT_EQ(GetString(real_, p), text) << path;
    Names names = {kFailed};
    model_.GetEntries(path, names);
    EXPECT_EQ(GetEntries(real_, p), names) << path;
    Names items = {kFailed};
    model_.GetList(path, ValueType::StringList, items);
    EXPECT_EQ(GetStrings(real_, p), items) << path;
    Names paths;
    if (!model_.EnumeratePaths(path, paths)) paths = {kFailed};
    EXPECT_EQ(GetPaths(real_, p), paths) << path;
    const std::string other = RandomPath(chance_);
    Names differences = {kFailed};
    model_.CompareSubtrees(path, other, differences);
    EXPECT_EQ(GetDifferences(real_, p, other.c_str()), differences) << path << " and " << other;
    const std::string name = chance_.Of(kAttributeNames);
    std::string value = kFailed;
    EXPECT_EQ(real_.HasAttribute(p, name.c_str()), model_.GetAttribute(path, name, value)) << path;
    EXPECT_EQ(GetAttribute(real_, p, name.c_str()), value) << path;
  }

  void SaveAndLoad() {
    const std::string saved = SaveText(real_);
    EXPECT_EQ(saved, model_.Save());
    if (chance_.Below(2) == 0) {
      EXPECT_EQ(LoadText(real_, saved), model_.Load(saved)) << saved;
    }
  }

 private:
  Chance& chance_;
  CDictionary real_;
  SlowModel model_;
};

TEST(SlowModel, AgreesOnRandomOperations) {
  Chance chance(1);
  for (int round = 0; round < 150 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    Pair pair(chance);
    for (int step = 0; step < 80 && !HasFailure(); ++step) {
      pair.Write();
      pair.Read();
      if (chance.Below(20) == 0) pair.SaveAndLoad();
    }
    pair.SaveAndLoad();
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
}  // namespace OrvWorkFlow::DictionaryTesting
