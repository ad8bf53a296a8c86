#include "orvflow/files/DictionaryText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/ValueTags.h"
#include "base/text/Suggestion.h"
#include "orvflow/terminal/WideText.h"

namespace OrvWorkFlow::Program {

namespace {

// How the values of one type are marshalled and read from the command line. Each has: the class of a list of them, its
// name, and the way from the text; Parse answers nothing for a text that is none of its type.
struct NarrowText {
  using List = IOrvPStringList;
  static constexpr char kList[] = "IOrvPStringList";
  static constexpr char kWhat[] = "UTF-8 text without control characters";
  static std::optional<std::string> Parse(const std::string& text) {
    // A file holds a "?" in a control character's place, unless it is a tab or a line end. No XML reader takes other
    // encodings in a file that says UTF-8, nor the two numbers that are no characters.
    const std::optional<std::u16string> wide = ToWide(text);
    const bool is_text = wide && wide->find_first_of(u"\xFFFE\xFFFF") == std::u16string::npos;
    const bool is_plain = is_text && std::none_of(text.begin(), text.end(), [](char c) {
                            return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
                          });
    return is_plain ? std::optional(text) : std::nullopt;
  }
};

struct WideText {
  using List = IOrvStringList;
  static constexpr char kList[] = "IOrvStringList";
  static constexpr char kWhat[] = "UTF-8 text without control characters";
  static std::optional<std::u16string> Parse(const std::string& text) {
    return NarrowText::Parse(text) ? ToWide(text) : std::nullopt;
  }
};

// The library knows base64: a dictionary of its own takes the text, as if it stood in a file, and gives the bytes. It
// also takes what is no more than readable; that makes another text of the bytes.
struct Base64Text {
  static constexpr char kWhat[] = "base64 text";
  std::optional<std::string> Parse(const std::string& text) const {
    const std::unique_ptr<IDictionary, Host::ObjectReleaser> scratch(dictionary.MakeDictionary());
    const Sdk::StreamHolder bytes;
    const Sdk::TextListHolder again;
    if (scratch == nullptr) throw std::bad_alloc();
    const bool is_readable = scratch->SetValue("", text.c_str()) && scratch->SetAttribute("", "__type", "Binary") &&
                             scratch->GetBinary("", bytes.get());
    if (!is_readable) return std::nullopt;
    const std::string value(static_cast<const char*>(bytes->GetData()), bytes->GetSize());
    const bool is_written =
        scratch->SetBinary("", value.data(), value.size()) && scratch->GetValueTexts("", again.get());
    return is_written && again.Texts().front() == text ? std::optional(value) : std::nullopt;
  }

  IDictionary& dictionary;
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
};

struct RealNumber {
  using List = IOrvDoubleList;
  static constexpr char kList[] = "IOrvDoubleList";
  static constexpr char kWhat[] = "number";
  static std::optional<double> Parse(const std::string& text) {
    const std::optional<double> number = ParseNumber<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
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
};

template <class Char>
bool AddTo(IOrvStringListOf<Char>& list, const std::basic_string<Char>& value) {
  return list.Add(value.data(), value.size());
}
template <class Item>
bool AddTo(IOrvListOf<Item>& list, Item value) {
  return list.Add(value);
}

// What is wrong with a text that was to be a value.
template <class Form>
std::string Refusal(const std::string& text) {
  return "\"" + text + "\" is no " + Form::kWhat;
}

bool HasOuterBlanks(const std::string& text) {
  static constexpr char kBlanks[] = " \t\n\v\f\r";
  return !text.empty() &&
         (std::strchr(kBlanks, text.front()) != nullptr || std::strchr(kBlanks, text.back()) != nullptr);
}

template <class Form, class Set>
std::string WriteScalar(const Form& form, const std::vector<std::string>& texts, bool& is_set, const Set& set) {
  if (texts.size() != 1) return "one value is needed, not " + std::to_string(texts.size());
  const auto value = form.Parse(texts.front());
  if (!value) return Refusal<Form>(texts.front());
  is_set = set(*value);
  return {};
}

template <class Form>
std::string WriteList(IDictionary& dictionary, const std::string& path, const std::vector<std::string>& texts,
                      bool& is_set) {
  const Sdk::MarshalledHolder<typename Form::List> list(Form::kList);
  for (const std::string& text : texts) {
    const auto value = Form::Parse(text);
    if (!value) return Refusal<Form>(text);
    if (HasOuterBlanks(text)) return "\"" + text + "\" has blanks at its ends, which a list in a file does not keep";
    if (!AddTo(*list.get(), *value)) throw std::bad_alloc();
  }
  is_set = dictionary.SetValue(path.c_str(), list.get());
  return {};
}

}  // namespace

bool IsList(ValueType type) {
  return type == ValueType::StringList || type == ValueType::WideStringList || type == ValueType::IntegerList ||
         type == ValueType::DoubleList || type == ValueType::BooleanList;
}

std::optional<std::string> ReadValue(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder texts;
  if (!dictionary.GetValueTexts(path.c_str(), texts.get())) return std::nullopt;
  std::string lines;
  for (const std::string& text : texts.Texts()) lines += text + '\n';
  return lines;
}

std::string WriteValue(IDictionary& dictionary, const std::string& path, const std::string& tag,
                       const std::vector<std::string>& texts, bool& is_set) {
  const auto set_text = [&](const std::string& value) { return dictionary.SetValue(path.c_str(), value.c_str()); };
  const auto set_wide = [&](const std::u16string& value) { return dictionary.SetValue(path.c_str(), value.c_str()); };
  const auto set_value = [&](auto value) { return dictionary.SetValue(path.c_str(), value); };
  const auto set_binary = [&](const std::string& value) {
    return dictionary.SetBinary(path.c_str(), value.data(), value.size());
  };
  const Base::ValueTag* const known = Base::FindTag(tag);
  if (known == nullptr) return "no type " + tag + Base::Suggest(tag, Base::ValueTagTexts());
  switch (known->type) {
    case ValueType::String:
      return WriteScalar(NarrowText(), texts, is_set, set_text);
    case ValueType::WideString:
      return WriteScalar(WideText(), texts, is_set, set_wide);
    case ValueType::Integer:
      return WriteScalar(WholeNumber(), texts, is_set, set_value);
    case ValueType::Double:
      return WriteScalar(RealNumber(), texts, is_set, set_value);
    case ValueType::Boolean:
      return WriteScalar(TruthValue(), texts, is_set, set_value);
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
      return WriteScalar(Base64Text{dictionary}, texts, is_set, set_binary);
    case ValueType::Nil:
      break;
  }
  return "nothing can be set to Nil; remove the entry instead";
}

}  // namespace OrvWorkFlow::Program
