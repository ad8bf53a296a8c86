#include "orvflow/Setting.h"

#include <charconv>
#include <system_error>

#include "orvflow/Suggestion.h"
#include "orvflow/Terminal.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Program {

namespace {

template <class Number>
bool SetNumber(IDictionary& dictionary, const Setting& setting) {
  Number number = 0;
  const char* end = setting.value.data() + setting.value.size();
  const std::from_chars_result result = std::from_chars(setting.value.data(), end, number);
  return result.ec == std::errc() && result.ptr == end && dictionary.SetValue(setting.path.c_str(), number);
}

bool SetBoolean(IDictionary& dictionary, const Setting& setting) {
  if (setting.value != "true" && setting.value != "false") return false;
  return dictionary.SetValue(setting.path.c_str(), setting.value == "true");
}

[[noreturn]] void Refuse(const Setting& setting, const std::string& shown_name, const std::string& text) {
  throw FileError(ExitCode::Usage, shown_name, setting.path, text);
}

// "; did you mean ...?" among the entries beside the missing one.
std::string SuggestSibling(IDictionary& dictionary, const std::string& path) {
  const std::string parent = path.substr(0, path.find_last_of('/'));
  const TextListHolder names;
  if (!dictionary.GetEntries(parent.c_str(), names.get())) return {};
  return Suggest(path.substr(parent.size() + 1), names.Texts());
}

}  // namespace

Setting ParseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || text.front() != '/') {
    throw ProgramError(ExitCode::Usage, "run: --set " + text + ": not of the form /Dictionary/Path=VALUE");
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

void ApplySetting(IDictionary& dictionary, const Setting& setting, const std::string& shown_name) {
  switch (dictionary.GetValueType(setting.path.c_str())) {
    case ValueType::String:
      if (dictionary.SetValue(setting.path.c_str(), setting.value.c_str())) return;
      Refuse(setting, shown_name, "cannot be set");
    case ValueType::Integer:
      if (SetNumber<std::int32_t>(dictionary, setting)) return;
      Refuse(setting, shown_name, "\"" + setting.value + "\" is no whole number of 32 bits");
    case ValueType::Double:
      if (SetNumber<double>(dictionary, setting)) return;
      Refuse(setting, shown_name, "\"" + setting.value + "\" is no number");
    case ValueType::Boolean:
      if (SetBoolean(dictionary, setting)) return;
      Refuse(setting, shown_name, "\"" + setting.value + "\" is neither true nor false");
    case ValueType::Nil:
      Refuse(setting, shown_name, "no value to set there" + SuggestSibling(dictionary, setting.path));
    default:
      Refuse(setting, shown_name, "only texts, numbers and Booleans can be set");
  }
}

}  // namespace OrvWorkFlow::Program
