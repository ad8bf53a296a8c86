#include "orvflow/files/Setting.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <system_error>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/text/Suggestion.h"
#include "orvflow/files/DictionaryText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// What the dictionary has and does not take it has no memory for.
bool IsTaken(bool is_set) {
  if (!is_set) throw std::bad_alloc();
  return true;
}

template <class Number>
bool SetNumber(IDictionary& dictionary, const Setting& setting) {
  Number number = 0;
  const char* end = setting.value.data() + setting.value.size();
  const std::from_chars_result result = std::from_chars(setting.value.data(), end, number);
  const bool is_number = result.ec == std::errc() && result.ptr == end;
  return is_number && IsTaken(dictionary.SetValue(setting.path.c_str(), number));
}

bool SetBoolean(IDictionary& dictionary, const Setting& setting) {
  if (setting.value != "true" && setting.value != "false") return false;
  return IsTaken(dictionary.SetValue(setting.path.c_str(), setting.value == "true"));
}

[[noreturn]] void Refuse(const Setting& setting, const std::string& shown_name, const std::string& text) {
  throw FileError(ExitCode::Usage, shown_name, setting.path, text);
}

// "; did you mean ...?" among the entries beside the missing one.
std::string SuggestSibling(IDictionary& dictionary, const std::string& path) {
  const std::string parent = path.substr(0, path.find_last_of('/'));
  const Sdk::TextListHolder names;
  if (!dictionary.GetEntries(parent.c_str(), names.get())) return {};
  return Base::Suggest(path.substr(parent.size() + 1), names.Texts());
}

void AddSetting(IDictionary& dictionary, const Setting& setting, const std::string& shown_name) {
  bool is_set = false;
  const std::string wrong = WriteValue(dictionary, setting.path, setting.tag, {setting.value}, is_set);
  if (!wrong.empty()) Refuse(setting, shown_name, wrong);
  if (!is_set) Refuse(setting, shown_name, "no path; its parts hold letters, digits, _ and - only");
}

}  // namespace

Setting ParseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || text.front() != '/') {
    throw ProgramError(ExitCode::Usage, "run: --set " + text + ": not of the form /Dictionary/Path=VALUE");
  }
  const std::size_t colon = std::min(text.find(':'), equals);
  const std::string tag = colon == equals ? "" : text.substr(colon + 1, equals - colon - 1);
  return {text.substr(0, colon), text.substr(equals + 1), tag};
}

void ApplySetting(IDictionary& dictionary, const Setting& setting, const std::string& shown_name) {
  if (!setting.tag.empty()) return AddSetting(dictionary, setting, shown_name);
  switch (dictionary.GetValueType(setting.path.c_str())) {
    case ValueType::String:
      if (dictionary.SetValue(setting.path.c_str(), setting.value.c_str())) return;
      throw FileError(ExitCode::Failed, shown_name, setting.path, "cannot be set; not enough memory?");
    case ValueType::Integer:
      if (SetNumber<std::int32_t>(dictionary, setting)) return;
      Refuse(setting, shown_name, "\"" + setting.value + "\" is no whole number of 32 bits");
    case ValueType::Double:
      if (SetNumber<double>(dictionary, setting)) return;
      Refuse(setting, shown_name, "\"" + setting.value + "\" is no number");
    case ValueType::Boolean:
      if (SetBoolean(dictionary, setting)) return;
      Refuse(setting, shown_name, "\"" + setting.value + "\" is neither true nor false");
    case ValueType::Nil: {
      const std::string suggestion = SuggestSibling(dictionary, setting.path);
      const std::string advice = "; " + setting.path + ":str=VALUE (or int, dbl, Bool) adds one";
      Refuse(setting, shown_name, "no value to set there" + (suggestion.empty() ? advice : suggestion));
    }
    default:
      Refuse(setting, shown_name, "only texts, numbers and Booleans can be set");
  }
}

}  // namespace OrvWorkFlow::Program
