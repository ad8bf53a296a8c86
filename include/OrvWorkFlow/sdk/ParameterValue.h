// The value of a node's parameter, as an entry of a dictionary holds it: read in the type that the node declares, and
// converted where that loses nothing. The node's reading and the check before a run use the same rules.
//
// Header-only, so that no type of the standard library crosses a library's border.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/INodeDescription.h"
#include "OrvWorkFlow/INodeParameterRules.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Sdk::Parameters {

// What stands at an entry.
struct Entry {
  enum class State {
    Missing,    // no entry, or one without a type
    Untyped,    // its type is none that is known
    Redirects,  // to no value of the wanted type
    Value,
  };
  State state = State::Missing;
  ValueType type = ValueType::Nil;
  std::vector<std::string> texts;  // of a value: one, or one for each item of a list

  bool IsScalar() const { return state == State::Value && texts.size() == 1 && type <= ValueType::Boolean; }
};

inline Entry EntryOf(ValueType type, std::string text) { return {Entry::State::Value, type, {std::move(text)}}; }

// The entry as it stands, but through a redirection the value of the wanted type that it leads to.
inline Entry ReadEntry(IDictionary& dictionary, const std::string& path, ParameterType wanted) {
  const TextHolder text;
  bool boolean = false;
  std::int32_t number = 0;
  if (wanted == ParameterType::Text && dictionary.GetValue(path.c_str(), text.get())) {
    return EntryOf(ValueType::String, text.Text());
  }
  if (wanted == ParameterType::Boolean && dictionary.GetValue(path.c_str(), &boolean)) {
    return EntryOf(ValueType::Boolean, boolean ? "1" : "0");
  }
  if (wanted == ParameterType::Number && dictionary.GetValue(path.c_str(), &number)) {
    return EntryOf(ValueType::Integer, std::to_string(number));
  }
  if (const TextListHolder list; wanted == ParameterType::TextList && dictionary.GetValue(path.c_str(), list.get())) {
    return {Entry::State::Value, ValueType::StringList, list.Texts()};
  }
  if (!dictionary.Exists(path.c_str())) return {};
  Entry entry;
  entry.type = dictionary.GetValueType(path.c_str());
  const TextListHolder texts;
  if (dictionary.IsRedirection(path.c_str())) {
    entry.state = Entry::State::Redirects;
  } else if (entry.type != ValueType::Nil && dictionary.GetValueTexts(path.c_str(), texts.get())) {
    entry.state = Entry::State::Value;
    entry.texts = texts.Texts();
  } else if (dictionary.HasAttribute(path.c_str(), "__type")) {
    entry.state = Entry::State::Untyped;
  }
  return entry;
}

inline bool EqualIgnoringCase(std::string_view left, std::string_view right) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

// "-12", nothing around it.
inline std::optional<std::int32_t> NumberOf(std::string_view text) {
  std::int32_t number = 0;
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

// "3.000000" without its zeros.
inline std::string_view WithoutZeroFraction(std::string_view text) {
  const std::size_t point = text.find('.');
  const bool whole =
      point != std::string_view::npos && text.find_first_not_of('0', point + 1) == std::string_view::npos;
  return whole ? text.substr(0, point) : text;
}

inline std::optional<std::int32_t> ToNumber(const Entry& entry) {
  if (!entry.IsScalar() || entry.type == ValueType::Boolean) return std::nullopt;
  return NumberOf(entry.type == ValueType::Double ? WithoutZeroFraction(entry.texts[0]) : entry.texts[0]);
}

inline std::optional<bool> ToBoolean(const Entry& entry) {
  if (!entry.IsScalar()) return std::nullopt;
  const std::string_view text =
      entry.type == ValueType::Double ? WithoutZeroFraction(entry.texts[0]) : std::string_view(entry.texts[0]);
  for (const char* yes : {"1", "yes", "true"}) {
    if (EqualIgnoringCase(text, yes)) return true;
  }
  for (const char* no : {"0", "no", "false"}) {
    if (EqualIgnoringCase(text, no)) return false;
  }
  return std::nullopt;
}

// A wide text counts where every code page has its characters.
inline std::optional<std::string> ToText(const Entry& entry) {
  if (!entry.IsScalar()) return std::nullopt;
  const bool is_text = entry.type == ValueType::String || entry.type == ValueType::WideString;
  if (!is_text && entry.type != ValueType::Integer) return std::nullopt;
  const bool is_plain =
      std::all_of(entry.texts[0].begin(), entry.texts[0].end(), [](char c) { return c > 0 && c < 0x7F; });
  if (entry.type == ValueType::WideString && !is_plain) return std::nullopt;
  return entry.texts[0];
}

// A text counts as a list of one.
inline std::optional<std::vector<std::string>> ToTexts(const Entry& entry) {
  if (entry.state == Entry::State::Value && entry.type == ValueType::StringList) return entry.texts;
  if (std::optional<std::string> text = ToText(entry)) return std::vector<std::string>{std::move(*text)};
  return std::nullopt;
}

inline bool Fits(const Entry& entry, ParameterType type) {
  switch (type) {
    case ParameterType::Text:
      return ToText(entry).has_value();
    case ParameterType::Boolean:
      return ToBoolean(entry).has_value();
    case ParameterType::Number:
      return ToNumber(entry).has_value();
    case ParameterType::TextList:
      return ToTexts(entry).has_value();
  }
  return false;
}

// What such a parameter takes, and how its entry is written.
inline const char* WhatItTakes(ParameterType type) {
  switch (type) {
    case ParameterType::Text:
      return "a text (__type=\"str\")";
    case ParameterType::Boolean:
      return "yes or no (__type=\"Bool\" with 1 or 0)";
    case ParameterType::Number:
      return "a whole number of 32 bits (__type=\"int\")";
    case ParameterType::TextList:
      return "a list of texts (__type=\"strlist\")";
  }
  return "";
}

// The same of a parameter with a rule, or null: of a list that is one text, a text.
inline const char* WhatItTakes(const NodeParameter& parameter, const ParameterRule* rule) {
  const bool is_one_text = rule != nullptr && rule->between != nullptr && parameter.type == ParameterType::TextList;
  return WhatItTakes(is_one_text ? ParameterType::Text : parameter.type);
}

// "\"maybe\"", as a message shows it.
inline std::string Shown(const std::string& text) {
  static constexpr std::size_t kMostShown = 60;
  return "\"" + text.substr(0, kMostShown) + (text.size() > kMostShown ? "..." : "") + "\"";
}

// The same, or "a list": what stands there instead.
inline std::string WhatItIs(const Entry& entry) {
  switch (entry.state) {
    case Entry::State::Missing:
      return "nothing";
    case Entry::State::Untyped:
      return "of a type that is not known";
    case Entry::State::Redirects:
      return "a redirection to no such value";
    case Entry::State::Value:
      break;
  }
  if (!entry.IsScalar()) return entry.type == ValueType::Binary ? "a block of bytes" : "a list";
  return Shown(entry.texts[0]);
}

// "one, two or three".
template <class Texts>
std::string Alternatives(const Texts& texts) {
  std::string all;
  for (auto text = texts.begin(); text != texts.end(); ++text) {
    if (text != texts.begin()) all += text + 1 == texts.end() ? " or " : ", ";
    all += *text;
  }
  return all;
}

// The parts of one text, together.
inline std::string Joined(const std::vector<std::string>& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text += &part == &parts.front() ? part : between + part;
  return text;
}

// What is wrong with a parameter's value by its words, and what it takes instead.
struct WordProblem {
  std::string word;
  std::string what;    // "is \"sha1\""
  std::string remedy;  // "it takes crc32 or sha256"
};

// Nothing where there is no rule, and for values that its words allow.
inline std::optional<WordProblem> FindWordProblem(const NodeParameter& parameter, const ParameterRule* rule,
                                                  const Entry& entry) {
  if (rule == nullptr || rule->words.count == 0) return std::nullopt;
  const bool is_list = parameter.type == ParameterType::TextList;
  if (!is_list && parameter.type != ParameterType::Text) return std::nullopt;
  const std::optional<std::vector<std::string>> value = ToTexts(entry);
  if (!value) return std::nullopt;
  const bool has_items = is_list && rule->between == nullptr;
  const auto is_wrong = [&](std::string_view text) {
    if (!has_items && text == parameter.fallback) return false;
    return std::none_of(rule->words.begin(), rule->words.end(), [&](std::string_view word) {
      return rule->any_case ? EqualIgnoringCase(text, word) : text == word;
    });
  };
  const std::vector<std::string> texts =
      is_list && !has_items ? std::vector<std::string>{Joined(*value, rule->between)} : *value;
  const auto wrong = std::find_if(texts.begin(), texts.end(), is_wrong);
  if (wrong == texts.end()) return std::nullopt;
  return WordProblem{*wrong, (has_items && texts.size() > 1 ? "holds " : "is ") + Shown(*wrong),
                     "it takes " + Alternatives(rule->words)};
}

// A text that a node read and that is none of the parameter's words.
class WrongWord final : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace OrvWorkFlow::Sdk::Parameters
