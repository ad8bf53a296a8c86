// What one signal carries over a bridge: its name and values of the workflow's dictionary. The same of a request, and
// what it is answered with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"

namespace OrvWorkFlow::Nodes::Bridge {

struct Value {
  std::string path;
  ValueType type = ValueType::Nil;  // String, Integer, Double, Boolean or StringList
  std::vector<std::string> texts;   // one but for a list
  std::int32_t integer = 0;
  double number = 0;
  bool boolean = false;
};

enum class LetterKind : std::uint8_t { Signal = 0, Request = 1, Answer = 2, Refusal = 3 };

struct Letter {
  LetterKind kind = LetterKind::Signal;
  std::uint64_t request = 0;  // the number that the asker gave it; none of a signal
  std::string signal;         // the name; of an answer none, of a refusal the reason
  std::vector<Value> values;
};

// Throws std::runtime_error with the entry for one that is not there or of a type that is not carried.
Value ReadValue(IDictionary& dictionary, const std::string& path);
std::vector<Value> ReadValues(IDictionary& dictionary, const std::vector<std::string>& paths);
// Below Values of the record, instead of what is there. Throws std::runtime_error when the dictionary refuses.
void WriteValues(IDictionary& dictionary, Sdk::NodeRecord record, const std::vector<Value>& values);

// Throws std::runtime_error for what is too large.
std::string EncodeLetter(const Letter& letter);
// Throws std::runtime_error with what is wrong, for bytes that come from outside.
Letter DecodeLetter(std::string_view bytes);

}  // namespace OrvWorkFlow::Nodes::Bridge
