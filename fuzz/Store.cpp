// Operations on a dictionary, each compared with the slow model's. An input is lines: a letter for the operation, the
// entry's path, and further arguments, separated by tabs.
//
//   s PATH TEXT         set a text                 d PATH   delete
//   u PATH UTF8         set a wide text            r PATH   read only
//   i PATH NUMBER       set an integer             f        save
//   b PATH 0|1          set a Boolean              F        save and load
//   l PATH TEXT...      set a list of texts        < FILE   load the rest of the line as a file
//   a PATH NAME VALUE   set an attribute
#include <charconv>

#include "dictionary/AttributeText.h"
#include "dictionary/DictionaryObject.h"
#include "dictionary/ValueText.h"
#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/dictionary/DictionaryTesting.h"
#include "tests/dictionary/SlowModel.h"
#include "tests/support/Marshalled.h"

namespace OrvWorkFlow::Fuzz {

namespace {

using namespace DictionaryTesting;

// C strings end at their first zero.
std::string TakeArgument(std::string_view& line) { return std::string(TakeUntil('\t', line)).c_str(); }

class ComparedStore {
 public:
  void Execute(std::string_view line) {
    const char operation = line.empty() ? 'r' : line.front();
    line.remove_prefix(line.empty() ? 0 : 1);
    if (operation == 'f') return SaveAndLoad(false);
    if (operation == 'F') return SaveAndLoad(true);
    if (operation == '<') return Load(std::string(line));
    const std::string path = TakeArgument(line);
    Write(operation, path, line);
    Read(path, TakeArgument(line));
  }

  void SaveAndLoad(bool loads) {
    const std::string saved = SaveText(real_);
    RequireEqual(saved, model_.Save(), "saved file");
    if (loads) Load(saved);
  }

 private:
  void Load(const std::string& file) {
    if (file.empty()) return;
    Require(LoadText(real_, file) == model_.Load(file), "the model answers otherwise whether it loads:\n" + file);
  }

  void Write(char operation, const std::string& path, std::string_view arguments);
  void Read(const std::string& path, const std::string& attribute);

  CDictionary real_;
  SlowModel model_;
};

void RequireSame(bool real, bool model, char operation, const std::string& path) {
  Require(real == model, std::string("operation ") + operation + " at \"" + path + "\": not the model's answer");
}

void ComparedStore::Write(char operation, const std::string& path, std::string_view arguments) {
  const char* const p = path.c_str();
  const std::string text = TakeArgument(arguments);
  switch (operation) {
    case 's':
      return RequireSame(real_.SetValue(p, text.c_str()), model_.SetText(path, "str", text), operation, path);
    case 'u': {
      const std::u16string wide = FromUtf8(text);
      return RequireSame(real_.SetValue(p, wide.c_str()), model_.SetText(path, "UStr", ToUtf8(wide)), operation, path);
    }
    case 'i': {
      std::int32_t number = 0;
      std::from_chars(text.data(), text.data() + text.size(), number);
      const bool is_set = model_.SetText(path, "int", std::to_string(number));
      return RequireSame(real_.SetValue(p, number), is_set, operation, path);
    }
    case 'b':
      return RequireSame(real_.SetValue(p, text == "1"), model_.SetText(path, "Bool", text == "1" ? "1" : "0"),
                         operation, path);
    case 'l': {
      Names items = {text};
      while (!arguments.empty()) items.push_back(TakeArgument(arguments));
      if (items.size() == 1 && text.empty()) items.clear();
      return RequireSame(SetStrings(real_, p, items), model_.SetList(path, "strlist", items), operation, path);
    }
    case 'a': {
      const std::string value = TakeArgument(arguments);
      const bool is_set = IsAttributeName(text) && model_.SetAttribute(path, text, value);
      return RequireSame(real_.SetAttribute(p, text.c_str(), value.c_str()), is_set, operation, path);
    }
    case 'd':
      return RequireSame(real_.Delete(p), model_.Delete(path), operation, path);
    default:
      return;
  }
}

void ComparedStore::Read(const std::string& path, const std::string& attribute) {
  const char* const p = path.c_str();
  RequireSame(real_.Exists(p), model_.Exists(path), '?', path);
  Require(real_.GetValueType(p) == model_.GetType(path), "another type than the model's at " + path);
  std::string text = kFailed;
  model_.GetText(path, ValueType::String, text);
  RequireEqual(GetString(real_, p), text, "text at " + path);
  text = kFailed;
  model_.GetText(path, ValueType::WideString, text);
  const orv_test::WString wide;
  const bool is_wide = real_.GetValue(p, wide.out());
  Require(is_wide == (text != kFailed), "a wide text, or not, at " + path);
  if (is_wide) Require(wide.str() == FromUtf8(text), "another wide text than the model's at " + path);
  Names names = {kFailed};
  model_.GetEntries(path, names);
  Require(GetEntries(real_, p) == names, "other entries than the model's at " + path);
  Names items = {kFailed};
  model_.GetList(path, ValueType::StringList, items);
  Require(GetStrings(real_, p) == items, "another list than the model's at " + path);
  Names paths;
  if (!model_.EnumeratePaths(path, paths)) paths = {kFailed};
  Require(GetPaths(real_, p) == paths, "other paths than the model's at " + path);
  std::string value = kFailed;
  RequireSame(real_.HasAttribute(p, attribute.c_str()), model_.GetAttribute(path, attribute, value), '@', path);
  RequireEqual(GetAttribute(real_, p, attribute.c_str()), value, "attribute at " + path);
}

}  // namespace

void Store(std::string_view input) {
  // The model knows no redirections, and a file can bring one about in pieces ("_is&#82;edirection").
  if (input.find("edirection") != std::string_view::npos) return;
  ComparedStore store;
  while (!input.empty()) store.Execute(TakeUntil('\n', input));
  store.SaveAndLoad(false);
}

}  // namespace OrvWorkFlow::Fuzz
