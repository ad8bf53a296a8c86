// What one signal carries over a bridge: its name and values of the workflow's dictionary.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Nodes::Bridge {

struct Value {
  std::string path;
  ValueType type = ValueType::Nil;  // String, Integer, Double, Boolean or StringList
  std::vector<std::string> texts;   // one but for a list
  std::int32_t integer = 0;
  double number = 0;
  bool boolean = false;
};

struct Letter {
  std::string signal;
  std::vector<Value> values;
};

// Throws std::runtime_error with the entry for one that is not there or of a type that is not carried.
Value ReadValue(IDictionary& dictionary, const std::string& path);
// Below `folder`; false when the dictionary refuses.
bool WriteValue(IDictionary& dictionary, const std::string& folder, const Value& value);

// Throws std::runtime_error for what is too large.
std::string EncodeLetter(const Letter& letter);
// Throws std::runtime_error with what is wrong, for bytes that come from outside.
Letter DecodeLetter(std::string_view bytes);

}  // namespace OrvWorkFlow::Nodes::Bridge
