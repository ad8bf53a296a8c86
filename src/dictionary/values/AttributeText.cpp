#include "dictionary/values/AttributeText.h"

#include <algorithm>

#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

void AppendPair(std::string& text, std::string_view name, std::string_view value) {
  const char quote = value.find('"') == std::string_view::npos ? '"' : '\'';
  if (!text.empty()) text += ' ';
  text.append(name);
  text += '=';
  text += quote;
  text.append(value);
  text += quote;
}

}  // namespace

bool AttributeReader::Next(std::string_view& name, std::string_view& value) {
  for (;;) {
    rest_ = SkipBlanks(rest_);
    const std::size_t equals = rest_.find('=');
    if (equals == std::string_view::npos) return false;
    const std::size_t open = rest_.find_first_of("\"'", equals + 1);
    if (open == std::string_view::npos) return false;
    const std::size_t close = rest_.find(rest_[open], open + 1);
    if (close == std::string_view::npos) return false;
    name = rest_.substr(0, equals);
    value = rest_.substr(open + 1, close - open - 1);
    rest_.remove_prefix(close + 1);
    if (!name.empty()) return true;
  }
}

std::optional<std::string_view> FindAttribute(std::string_view text, std::string_view name) {
  AttributeReader reader(text);
  std::string_view found;
  std::string_view value;
  while (reader.Next(found, value)) {
    if (found == name) return value;
  }
  return std::nullopt;
}

std::string WithAttribute(std::string_view text, std::string_view name, std::string_view value) {
  std::string result;
  result.reserve(text.size() + name.size() + value.size() + 4);
  AttributeReader reader(text);
  std::string_view old_name;
  std::string_view old_value;
  bool placed = false;
  while (reader.Next(old_name, old_value)) {
    const bool here = !placed && old_name == name;
    AppendPair(result, old_name, here ? value : old_value);
    placed = placed || here;
  }
  if (!placed) AppendPair(result, name, value);
  return result;
}

std::string WithoutAttribute(std::string_view text, std::string_view name) {
  std::string result;
  AttributeReader reader(text);
  std::string_view old_name;
  std::string_view old_value;
  bool dropped = false;
  while (reader.Next(old_name, old_value)) {
    if (!dropped && old_name == name) {
      dropped = true;
    } else {
      AppendPair(result, old_name, old_value);
    }
  }
  return result;
}

bool IsAttributeName(std::string_view name) {
  return !name.empty() && std::none_of(name.begin(), name.end(), [](char c) {
    return IsBlank(c) || c == '=' || c == '>' || c == '/' || c == '"' || c == '\'';
  });
}

}  // namespace OrvWorkFlow::Core::Dictionary
