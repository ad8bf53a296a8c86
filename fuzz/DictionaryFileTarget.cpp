// Dictionary files: the reader and the writer must agree with the slow model, and a saved file must come back as it
// was saved. The input is the file.
#include <algorithm>
#include <cstddef>

#include "dictionary/object/DictionaryObject.h"
#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/dictionary/DictionaryTesting.h"
#include "tests/dictionary/SlowModel.h"

namespace OrvWorkFlow::Fuzz {

namespace {

using namespace Core::Dictionary::DictionaryTesting;

// The model's time grows with the cube of the depth.
constexpr std::size_t kModelLimit = 300;

// Every read operation at every path of the content.
void RequireSameReads(Core::Dictionary::CDictionary& real, const SlowModel& model) {
  Names paths;
  const bool exists = model.EnumeratePaths("", paths);
  Require(GetPaths(real, "") == (exists ? paths : Names{kFailed}), "other paths than the model's");
  for (const std::string& path : paths) {
    const char* const p = path.c_str();
    Require(real.GetValueType(p) == model.GetType(path), "another type than the model's at " + path);
    std::string text = kFailed;
    model.GetText(path, ValueType::String, text);
    RequireEqual(GetString(real, p), text, "text at " + path);
    Names items = {kFailed};
    model.GetList(path, ValueType::StringList, items);
    Require(GetStrings(real, p) == items, "another list than the model's at " + path);
    std::string type = kFailed;
    model.GetAttribute(path, "__type", type);
    RequireEqual(GetAttribute(real, p, "__type"), type, "type attribute at " + path);
  }
}

void CompareWithModel(const std::string& file, Core::Dictionary::CDictionary& loaded, bool is_loaded) {
  SlowModel model;
  Require(is_loaded == model.Load(file), "the model answers otherwise whether it loads");
  Core::Dictionary::ElementTree tree;
  LoadTree(tree, file);
  RequireEqual(Dump(tree), model.Dump(), "content");
  // A path cannot hold a zero, and redirections are nothing the model follows.
  const bool is_plain = file.find('\0') == std::string::npos && file.find("sRedirection") == std::string::npos;
  if (is_plain) RequireSameReads(loaded, model);
  RequireEqual(SaveText(loaded), model.Save(), "saved file");
}

// Some attribute texts do not stand in a start tag as they should: one with an odd double quote never ends, and one
// that ends in "/" makes an empty element of its element. Values with a double quote, and files written by hand, bring
// them about.
bool HasOddAttributes(std::string_view saved) {
  while (!saved.empty()) {
    // Texts and attribute texts hold neither "<" nor ">".
    std::string_view tag = TakeUntil('>', saved);
    TakeUntil('<', tag);
    TakeUntil(' ', tag);
    if (std::count(tag.begin(), tag.end(), '"') % 2 != 0 || tag.ends_with('/')) return true;
  }
  return false;
}

}  // namespace

void DictionaryFile(std::string_view input) {
  const std::string file(input);
  Core::Dictionary::CDictionary first;
  const bool is_loaded = LoadText(first, file);
  if (file.size() <= kModelLimit) CompareWithModel(file, first, is_loaded);
  const std::string saved = SaveText(first);
  if (HasOddAttributes(saved)) return;
  Core::Dictionary::CDictionary second;
  Require(LoadText(second, saved), "a saved file does not load:\n" + saved);
  const std::string saved_again = SaveText(second);
  // Texts that stand for blanks only, and blanks before attributes, are lost on the way.
  Core::Dictionary::CDictionary third;
  Require(LoadText(third, saved_again), "a file saved twice does not load:\n" + saved_again);
  RequireEqual(SaveText(third), saved_again, "the file saved a third time");
}

}  // namespace OrvWorkFlow::Fuzz
