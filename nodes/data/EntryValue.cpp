#include "nodes/data/EntryValue.h"

#include <stdexcept>
#include <utility>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

std::optional<Value> ReadValue(IDictionary& dictionary, const std::string& path) {
  const char* const place = path.c_str();
  bool boolean = false;
  std::int32_t number = 0;
  double fraction = 0;
  const Sdk::TextHolder text;
  if (dictionary.GetValue(place, text.get())) return text.Text();
  if (dictionary.GetValue(place, &number)) return std::int64_t{number};
  if (dictionary.GetValue(place, &fraction)) return fraction;
  if (dictionary.GetValue(place, &boolean)) return boolean;
  const Sdk::TextListHolder texts;
  if (dictionary.GetValueType(place) != ValueType::WideString || !dictionary.GetValueTexts(place, texts.get())) {
    return std::nullopt;
  }
  return texts.Texts().front();
}

void WriteValue(IDictionary& dictionary, const std::string& path, const Value& value) {
  const char* const place = path.c_str();
  bool is_written = false;
  if (const auto* const yes = std::get_if<bool>(&value)) {
    is_written = dictionary.SetValue(place, *yes);
  } else if (const auto* const fraction = std::get_if<double>(&value)) {
    is_written = dictionary.SetValue(place, *fraction);
  } else if (const auto* const whole = std::get_if<std::int64_t>(&value);
             whole != nullptr && std::in_range<std::int32_t>(*whole)) {
    is_written = dictionary.SetValue(place, static_cast<std::int32_t>(*whole));
  } else {
    is_written = dictionary.SetValue(place, TextOf(value).c_str());
  }
  if (!is_written) throw std::runtime_error("cannot write the entry \"" + path + "\"");
}

}  // namespace OrvWorkFlow::Nodes
