// The tags by which a dictionary file names the types of its values.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Base {

struct ValueTag {
  std::string_view text;
  ValueType type;
};

// The first twelve are those that are written, in the order of the types' numbers; the others are read as well. Letter
// case counts.
inline constexpr ValueTag kValueTags[] = {
    {"str", ValueType::String},
    {"UStr", ValueType::WideString},
    {"int", ValueType::Integer},
    {"dbl", ValueType::Double},
    {"Bool", ValueType::Boolean},
    {"strlist", ValueType::StringList},
    {"UStrLst", ValueType::WideStringList},
    {"intlist", ValueType::IntegerList},
    {"doublelist", ValueType::DoubleList},
    {"BoolLst", ValueType::BooleanList},
    {"Binary", ValueType::Binary},
    {"Nil", ValueType::Nil},
    {"Str", ValueType::String},
    {"Int", ValueType::Integer},
    {"Dbl", ValueType::Double},
    {"StrLst", ValueType::StringList},
    {"IntLst", ValueType::IntegerList},
    {"DblLst", ValueType::DoubleList},
};

// The tag that is written for a type.
constexpr std::string_view TagOf(ValueType type) { return kValueTags[static_cast<std::size_t>(type)].text; }

// Null for a text that is none.
constexpr const ValueTag* FindTag(std::string_view text) {
  for (const ValueTag& tag : kValueTags) {
    if (text == tag.text) return &tag;
  }
  return nullptr;
}

// `Nil` for a text that is none.
constexpr ValueType TypeOfTag(std::string_view text) {
  const ValueTag* const tag = FindTag(text);
  return tag == nullptr ? ValueType::Nil : tag->type;
}

// All of them.
inline std::vector<std::string> ValueTagTexts() {
  std::vector<std::string> texts;
  for (const ValueTag& tag : kValueTags) texts.emplace_back(tag.text);
  return texts;
}

}  // namespace OrvWorkFlow::Base
