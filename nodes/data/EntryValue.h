// Values of the workflow's dictionary as nodes compute with them.
#pragma once

#include <optional>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "nodes/data/Expression.h"

namespace OrvWorkFlow::Nodes {

// Nothing for an entry without a value, and for lists and bytes.
std::optional<Value> ReadValue(IDictionary& dictionary, const std::string& path);

// A whole number beyond 32 bits becomes a text. Throws std::runtime_error when the dictionary refuses.
void WriteValue(IDictionary& dictionary, const std::string& path, const Value& value);

}  // namespace OrvWorkFlow::Nodes
