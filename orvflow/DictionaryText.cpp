#include "orvflow/DictionaryText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "orvflow/Suggestion.h"
#include "orvflow/WideText.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Program {

namespace {

struct Tag {
  const char* text;
  ValueType type;
};
// The first of a type is the one that is written.
constexpr Tag kTags[] = {
    {"str", ValueType::String},
    {"Str", ValueType::String},
    {"UStr", ValueType::WideString},
    {"int", ValueType::Integer},
    {"Int", ValueType::Integer},
    {"dbl", ValueType::Double},
    {"Dbl", ValueType::Double},
    {"Bool", ValueType::Boolean},
    {"strlist", ValueType::StringList},
    {"StrLst", ValueType::StringList},
    {"UStrLst", ValueType::WideStringList},
    {"intlist", ValueType::IntegerList},
    {"IntLst", ValueType::IntegerList},
    {"doublelist", ValueType::DoubleList},
    {"DblLst", ValueType::DoubleList},
    {"BoolLst", ValueType::BooleanList},
    {"Binary", ValueType::Binary},
    {"Nil", ValueType::Nil},
};

// How the values of one type are marshalled and written. Each has: the class of a list of them, its name, and the ways
// from and to the text; Parse answers nothing for a text that is none of its type.
struct NarrowText {
  using List = IOrvPStringList;
  static constexpr char kList[] = "IOrvPStringList";
  static constexpr char kWhat[] = "text without control characters";
  static std::optional<std::string> Parse(const std::string& text) {
    // A file holds a "?" in a control character's place, unless it is a tab or a line end.
    const bool is_plain = std::none_of(text.begin(), text.end(), [](char c) {
      return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    });
    return is_plain ? std::optional(text) : std::nullopt;
  }
  static std::string Format(const std::string& value) { return value; }
};

struct Base64Text {
  static constexpr char kWhat[] = "base64 text";
  static std::optional<std::string> Parse(const std::string& text) {
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    const bool is_base64 =
        text.size() % 4 == 0 &&
        std::all_of(text.begin(), text.end() - static_cast<std::ptrdiff_t>(padding), [](char c) {
          return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
        });
    return is_base64 ? std::optional(text) : std::nullopt;
  }
};

struct WideText {
  using List = IOrvStringList;
  static constexpr char kList[] = "IOrvStringList";
  static constexpr char kWhat[] = "UTF-8 text without control characters";
  static std::optional<std::u16string> Parse(const std::string& text) {
    return NarrowText::Parse(text) ? ToWide(text) : std::nullopt;
  }
  static std::string Format(std::u16string_view value) { return ToUtf8(value).value_or(""); }
};

template <class Number>
std::optional<Number> ParseNumber(const std::string& text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return number;
}

struct WholeNumber {
  using List = IOrvIntList;
  static constexpr char kList[] = "IOrvIntList";
  static constexpr char kWhat[] = "whole number of 32 bits";
  static std::optional<std::int32_t> Parse(const std::string& text) { return ParseNumber<std::int32_t>(text); }
  static std::string Format(std::int32_t value) { return std::to_string(value); }
};

struct RealNumber {
  using List = IOrvDoubleList;
  static constexpr char kList[] = "IOrvDoubleList";
  static constexpr char kWhat[] = "number";
  static std::optional<double> Parse(const std::string& text) {
    const std::optional<double> number = ParseNumber<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
  }
  static std::string Format(double value) {
    std::array<char, 400> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, 6);
    return {buffer.data(), result.ptr};
  }
};

struct TruthValue {
  using List = IOrvBoolList;
  static constexpr char kList[] = "IOrvBoolList";
  static constexpr char kWhat[] = "truth value (1, 0, true, false)";
  static std::optional<bool> Parse(const std::string& text) {
    if (text == "1" || text == "true") return true;
    if (text == "0" || text == "false") return false;
    return std::nullopt;
  }
  static std::string Format(bool value) { return value ? "1" : "0"; }
};

template <class Char>
bool AddTo(IOrvStringListOf<Char>& list, const std::basic_string<Char>& value) {
  return list.Add(value.data(), value.size());
}
template <class Item>
bool AddTo(IOrvListOf<Item>& list, Item value) {
  return list.Add(value);
}

template <class Char>
std::basic_string<Char> ItemOf(const IOrvStringListOf<Char>& list, std::size_t index) {
  return {list.GetText(index), list.GetLength(index)};
}
template <class Item>
Item ItemOf(const IOrvListOf<Item>& list, std::size_t index) {
  Item item{};
  list.Get(index, &item);
  return item;
}

template <class Form>
std::optional<std::string> ReadList(IDictionary& dictionary, const std::string& path) {
  const MarshalledHolder<typename Form::List> list(Form::kList);
  if (!dictionary.GetValue(path.c_str(), list.get())) return std::nullopt;
  std::string lines;
  for (std::size_t i = 0; i < list->GetCount(); ++i) lines += Form::Format(ItemOf(*list.get(), i)) + '\n';
  return lines;
}

template <class Form, class Value>
std::optional<std::string> ReadScalar(IDictionary& dictionary, const std::string& path) {
  Value value{};
  if (!dictionary.GetValue(path.c_str(), &value)) return std::nullopt;
  return Form::Format(value) + '\n';
}

std::optional<std::string> ReadNarrow(IDictionary& dictionary, const std::string& path) {
  const TextHolder text;
  if (!dictionary.GetValue(path.c_str(), text.get())) return std::nullopt;
  return text.Text() + '\n';
}

std::optional<std::string> ReadWide(IDictionary& dictionary, const std::string& path) {
  const MarshalledHolder<IOrvString> text("IOrvString");
  if (!dictionary.GetValue(path.c_str(), text.get())) return std::nullopt;
  return WideText::Format({text->GetText(), text->GetLength()}) + '\n';
}

// What is wrong with a text that was to be a value.
template <class Form>
std::string Refusal(const std::string& text) {
  return "\"" + text + "\" is no " + Form::kWhat;
}

template <class Form, class Set>
std::string WriteScalar(const std::vector<std::string>& texts, bool& is_set, const Set& set) {
  if (texts.size() != 1) return "one value is needed, not " + std::to_string(texts.size());
  const auto value = Form::Parse(texts.front());
  if (!value) return Refusal<Form>(texts.front());
  is_set = set(*value);
  return {};
}

template <class Form>
std::string WriteList(IDictionary& dictionary, const std::string& path, const std::vector<std::string>& texts,
                      bool& is_set) {
  const MarshalledHolder<typename Form::List> list(Form::kList);
  for (const std::string& text : texts) {
    const auto value = Form::Parse(text);
    if (!value) return Refusal<Form>(text);
    if (!AddTo(*list.get(), *value)) throw std::bad_alloc();
  }
  is_set = dictionary.SetValue(path.c_str(), list.get());
  return {};
}

const Tag* FindTag(const std::string& tag) {
  const Tag* const found = std::find_if(std::begin(kTags), std::end(kTags), [&](Tag one) { return tag == one.text; });
  return found == std::end(kTags) ? nullptr : found;
}

std::vector<std::string> TagTexts() {
  std::vector<std::string> texts;
  for (const Tag& tag : kTags) texts.emplace_back(tag.text);
  return texts;
}

// Binary values are texts with a tag of their own.
bool MarkAs(IDictionary& dictionary, const std::string& path, const char* tag) {
  return dictionary.SetAttribute(path.c_str(), "__type", tag);
}

std::optional<std::string> ReadBinary(IDictionary& dictionary, const std::string& path) {
  if (!MarkAs(dictionary, path, "str")) return std::nullopt;
  const std::optional<std::string> text = ReadNarrow(dictionary, path);
  MarkAs(dictionary, path, "Binary");
  return text;
}

}  // namespace

const char* TagOfType(ValueType type) {
  const auto* const tag = std::find_if(std::begin(kTags), std::end(kTags), [&](Tag one) { return one.type == type; });
  return tag == std::end(kTags) ? "Nil" : tag->text;
}

std::optional<std::string> ReadValue(IDictionary& dictionary, const std::string& path) {
  switch (dictionary.GetValueType(path.c_str())) {
    case ValueType::String:
      return ReadNarrow(dictionary, path);
    case ValueType::WideString:
      return ReadWide(dictionary, path);
    case ValueType::Integer:
      return ReadScalar<WholeNumber, std::int32_t>(dictionary, path);
    case ValueType::Double:
      return ReadScalar<RealNumber, double>(dictionary, path);
    case ValueType::Boolean:
      return ReadScalar<TruthValue, bool>(dictionary, path);
    case ValueType::StringList:
      return ReadList<NarrowText>(dictionary, path);
    case ValueType::WideStringList:
      return ReadList<WideText>(dictionary, path);
    case ValueType::IntegerList:
      return ReadList<WholeNumber>(dictionary, path);
    case ValueType::DoubleList:
      return ReadList<RealNumber>(dictionary, path);
    case ValueType::BooleanList:
      return ReadList<TruthValue>(dictionary, path);
    case ValueType::Binary:
      return ReadBinary(dictionary, path);
    case ValueType::Nil:
      break;
  }
  return std::nullopt;
}

std::string WriteValue(IDictionary& dictionary, const std::string& path, const std::string& tag,
                       const std::vector<std::string>& texts, bool& is_set) {
  const auto set_text = [&](const std::string& value) { return dictionary.SetValue(path.c_str(), value.c_str()); };
  const auto set_wide = [&](const std::u16string& value) { return dictionary.SetValue(path.c_str(), value.c_str()); };
  const auto set_value = [&](auto value) { return dictionary.SetValue(path.c_str(), value); };
  const auto set_binary = [&](const std::string& value) {
    return set_text(value) && MarkAs(dictionary, path, "Binary");
  };
  const Tag* const known = FindTag(tag);
  if (known == nullptr) return "no type " + tag + Suggest(tag, TagTexts());
  switch (known->type) {
    case ValueType::String:
      return WriteScalar<NarrowText>(texts, is_set, set_text);
    case ValueType::WideString:
      return WriteScalar<WideText>(texts, is_set, set_wide);
    case ValueType::Integer:
      return WriteScalar<WholeNumber>(texts, is_set, set_value);
    case ValueType::Double:
      return WriteScalar<RealNumber>(texts, is_set, set_value);
    case ValueType::Boolean:
      return WriteScalar<TruthValue>(texts, is_set, set_value);
    case ValueType::StringList:
      return WriteList<NarrowText>(dictionary, path, texts, is_set);
    case ValueType::WideStringList:
      return WriteList<WideText>(dictionary, path, texts, is_set);
    case ValueType::IntegerList:
      return WriteList<WholeNumber>(dictionary, path, texts, is_set);
    case ValueType::DoubleList:
      return WriteList<RealNumber>(dictionary, path, texts, is_set);
    case ValueType::BooleanList:
      return WriteList<TruthValue>(dictionary, path, texts, is_set);
    case ValueType::Binary:
      return WriteScalar<Base64Text>(texts, is_set, set_binary);
    case ValueType::Nil:
      break;
  }
  return "nothing can be set to Nil; remove the entry instead";
}

}  // namespace OrvWorkFlow::Program
