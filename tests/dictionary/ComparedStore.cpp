#include "ComparedStore.h"

#include <charconv>
#include <stdexcept>

#include "DictionaryTesting.h"
#include "dictionary/values/AttributeText.h"
#include "dictionary/values/ValueText.h"
#include "tests/base/SlowBase64.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// Copies double what is there.
constexpr std::size_t kLargeModel = 64;

[[noreturn]] void Fail(const std::string& what, const std::string& path) {
  throw std::runtime_error(what + " at \"" + path + "\": not the model's");
}

template <class Value>
void RequireSame(const Value& real, const Value& model, const std::string& what, const std::string& path) {
  if (!(real == model)) Fail(what, path);
}
void RequireSame(const std::string& real, const std::string& model, const std::string& what, const std::string& path) {
  if (real != model) Fail(what + " \"" + real + "\", not \"" + model + "\",", path);
}

// C strings end at their first zero.
std::string TakeArgument(std::string_view& line) {
  const std::size_t end = line.find('\t');
  const std::string taken(line.substr(0, end));
  line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
  return taken.c_str();
}

// None for a line that ends where they would begin.
Names TakeArguments(std::string_view line) {
  Names arguments = {TakeArgument(line)};
  while (!line.empty()) arguments.push_back(TakeArgument(line));
  if (arguments.size() == 1 && arguments.front().empty()) arguments.clear();
  return arguments;
}

std::int32_t ToNumber(const std::string& text) {
  std::int32_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// What a getter fills in, or kFailed.
template <class Get>
Names ListOf(Get get) {
  Names names;
  return get(names) ? names : Names{kFailed};
}
template <class Get>
std::string TextOf(Get get) {
  std::string text;
  return get(text) ? text : kFailed;
}
template <class Get>
Names RealListOf(Get get) {
  const orv_test::PStringList list;
  return get(list.out()) ? list.vec() : Names{kFailed};
}

}  // namespace

void ComparedStore::Execute(std::string_view line) {
  const char operation = line.empty() ? 'r' : line.front();
  line.remove_prefix(line.empty() ? 0 : 1);
  if (operation == 'f' || operation == 'F') return SaveAndLoad(operation == 'F');
  if (operation == '<') return Load(std::string(line));
  const std::string path = TakeArgument(line);
  Write(operation, path, line);
  Read(path, TakeArgument(line));
}

void ComparedStore::SaveAndLoad(bool loads) {
  const std::string saved = SaveText(real_);
  RequireSame(saved, model_.Save(), "the saved file", "/");
  if (loads) Load(saved);
}

void ComparedStore::Load(const std::string& file) {
  if (file.empty()) return;
  RequireSame(LoadText(real_, file), model_.Load(file), "loading " + file, "/");
}

void ComparedStore::Write(char operation, const std::string& path, std::string_view arguments) {
  if (WriteValue(operation, path, arguments)) return;
  const std::string argument = TakeArgument(arguments);
  if (WriteSubtree(operation, path, argument)) return;
  const char* const p = path.c_str();
  const std::string what = std::string("the answer to ") + operation;
  switch (operation) {
    case 'a': {
      const std::string value = TakeArgument(arguments);
      const bool is_set = IsAttributeName(argument) && model_.SetAttribute(path, argument, value);
      return RequireSame(real_.SetAttribute(p, argument.c_str(), value.c_str()), is_set, what, path);
    }
    case 'A':
      return RequireSame(real_.RemoveAttribute(p, argument.c_str()), model_.RemoveAttribute(path, argument), what,
                         path);
    case 'T':
      return RequireSame(real_.RemoveRedirection(p), model_.RemoveRedirection(path), what, path);
    case 'd':
      return RequireSame(real_.Delete(p), model_.Delete(path), what, path);
    case 'e':
      return RequireSame(real_.Clear(p), model_.Clear(path), what, path);
    default:
      return;
  }
}

bool ComparedStore::WriteValue(char operation, const std::string& path, std::string_view arguments) {
  const char* const p = path.c_str();
  const Names all = TakeArguments(arguments);
  const std::string text = all.empty() ? "" : all.front();
  bool is_set = false;
  bool is_expected = false;
  switch (operation) {
    case 's':
      is_set = real_.SetValue(p, text.c_str());
      is_expected = model_.SetText(path, "str", text);
      break;
    case 'u':
      is_set = real_.SetValue(p, Base::FromUtf8(text).c_str());
      is_expected = model_.SetText(path, "UStr", Base::ToUtf8(Base::FromUtf8(text)));
      break;
    case 'i':
      is_set = real_.SetValue(p, ToNumber(text));
      is_expected = model_.SetText(path, "int", std::to_string(ToNumber(text)));
      break;
    case 'b':
      is_set = real_.SetValue(p, text == "1");
      is_expected = model_.SetText(path, "Bool", text == "1" ? "1" : "0");
      break;
    case 'y':
      is_set = real_.SetBinary(p, text.data(), text.size());
      is_expected = model_.SetText(path, "Binary", Base64Testing::SlowEncode(text));
      break;
    case 'l':
      is_set = SetStrings(real_, p, all);
      is_expected = model_.SetList(path, "strlist", all);
      break;
    case 't': {
      const orv_test::PStringList targets(all);
      is_set = real_.SetRedirection(p, targets.out());
      is_expected = model_.SetRedirection(path, all);
      break;
    }
    default:
      return false;
  }
  RequireSame(is_set, is_expected, std::string("the answer to ") + operation, path);
  return true;
}

bool ComparedStore::WriteSubtree(char operation, const std::string& path, const std::string& argument) {
  const char* const p = path.c_str();
  const char* const other = argument.c_str();
  bool is_done = false;
  bool is_expected = false;
  if ((operation == 'c' || operation == 'g') && model_.Size() > kLargeModel) return true;
  switch (operation) {
    case 'c':
      is_done = real_.CopySubtree(p, other);
      is_expected = model_.CopySubtree(path, argument);
      break;
    case 'm':
      is_done = real_.MoveSubtree(p, other);
      is_expected = model_.MoveSubtree(path, argument);
      break;
    case 'g':
      is_done = real_.MergeSubtree(&real_, p, other);
      is_expected = model_.MergeSubtree(path, argument);
      break;
    case 'n':
      is_done = real_.Rename(p, other);
      is_expected = model_.Rename(path, argument);
      break;
    default:
      return false;
  }
  RequireSame(is_done, is_expected, std::string("the answer to ") + operation + " " + argument, path);
  return true;
}

void ComparedStore::Read(const std::string& path, const std::string& word) {
  const char* const p = path.c_str();
  const char* const w = word.c_str();
  RequireSame(real_.Exists(p), model_.Exists(path), "existence", path);
  RequireSame(real_.GetValueType(p), model_.GetType(path), "type", path);
  RequireSame(real_.IsRedirection(p), model_.IsRedirection(path), "the mark of a redirection", path);
  ReadValues(path);
  ReadLists(path, word);
  const std::string value = TextOf([&](std::string& text) { return model_.GetAttribute(path, word, text); });
  RequireSame(real_.HasAttribute(p, w), value != kFailed, "the presence of the attribute " + word, path);
  RequireSame(GetAttribute(real_, p, w), value, "the attribute " + word, path);
}

void ComparedStore::ReadValues(const std::string& path) {
  const char* const p = path.c_str();
  const auto text_of = [&](ValueType type) {
    return TextOf([&](std::string& text) { return model_.GetText(path, type, text); });
  };
  RequireSame(GetString(real_, p), text_of(ValueType::String), "text", path);
  const std::string wide_text = text_of(ValueType::WideString);
  const orv_test::WString wide;
  RequireSame(real_.GetValue(p, wide.out()), wide_text != kFailed, "the presence of a wide text", path);
  if (wide_text != kFailed) RequireSame(wide.str(), Base::FromUtf8(wide_text), "wide text", path);
  const std::string integer_text = text_of(ValueType::Integer);
  std::int32_t integer = 0;
  RequireSame(real_.GetValue(p, &integer), integer_text != kFailed, "the presence of an integer", path);
  if (integer_text != kFailed) RequireSame(integer, ParseInteger(integer_text), "integer", path);
  const std::string base64 = text_of(ValueType::Binary);
  const std::string bytes = Base64Testing::SlowDecode(base64);
  const orv_test::Stream stream;
  const bool is_binary = real_.GetBinary(p, stream.out());
  if (is_binary) RequireSame(stream.bytes(), bytes, "bytes", path);
  if (base64 == kFailed || Base64Testing::SlowEncode(bytes) == base64) {
    RequireSame(is_binary, base64 != kFailed, "the presence of bytes", path);
  }
}

void ComparedStore::ReadLists(const std::string& path, const std::string& word) {
  const char* const p = path.c_str();
  const Names entries = ListOf([&](Names& names) { return model_.GetEntries(path, names); });
  RequireSame(GetEntries(real_, p), entries, "entries", path);
  const Names paths = ListOf([&](Names& names) { return model_.EnumeratePaths(path, names); });
  RequireSame(GetPaths(real_, p), paths, "paths", path);
  RequireSame(GetStrings(real_, p),
              ListOf([&](Names& names) { return model_.GetList(path, ValueType::StringList, names); }), "list", path);
  RequireSame(RealListOf([&](IOrvPStringList* list) { return real_.GetValueTexts(p, list); }),
              ListOf([&](Names& names) { return model_.GetTexts(path, names); }), "texts of the value", path);
  RequireSame(RealListOf([&](IOrvPStringList* list) { return real_.GetAttributeNames(p, list); }),
              ListOf([&](Names& names) { return model_.GetAttributeNames(path, names); }), "attributes", path);
  RequireSame(GetDifferences(real_, p, word.c_str()),
              ListOf([&](Names& names) { return model_.CompareSubtrees(path, word, names); }), "differences to " + word,
              path);
  std::size_t count = entries.size();
  std::size_t count_below = paths.size();
  real_.CountEntries(p, &count);
  real_.CountSubtree(p, &count_below);
  RequireSame(count, entries.size(), "the number of entries", path);
  RequireSame(count_below, paths.size(), "the number of paths", path);
}

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
