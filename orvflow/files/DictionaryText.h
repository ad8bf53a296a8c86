// Values of a dictionary as texts on the command line and in a terminal.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

bool IsList(ValueType type);

// The text form of the value there, as the file holds it; a list is one line an item, each with its line end. Wide text
// is UTF-8. Nothing where there is no value.
std::optional<std::string> ReadValue(IDictionary& dictionary, const std::string& path);

// Gives the entry a value of the tag's type (older spellings of tags count). Answers what is wrong with the arguments,
// or "" when nothing is. `is_set` tells whether the dictionary took the value.
std::string WriteValue(IDictionary& dictionary, const std::string& path, const std::string& tag,
                       const std::vector<std::string>& texts, bool& is_set);

}  // namespace OrvWorkFlow::Program
