// What is asked of a workflow's dictionary. What is there and cannot be read is not missing: std::bad_alloc is thrown
// then.
#pragma once

#include <new>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Base {

// The text of a string entry; "" where there is none.
inline std::string TextAt(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextHolder text;
  if (dictionary.GetValue(path.c_str(), text.get())) return text.Text();
  const bool is_text = dictionary.GetValueType(path.c_str()) == ValueType::String;
  if (is_text && !dictionary.IsRedirection(path.c_str())) throw std::bad_alloc();
  return {};
}

// The names of an entry's children; none where it is missing.
inline std::vector<std::string> NamesBelow(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder names;
  if (dictionary.GetEntries(path.c_str(), names.get())) return names.Texts();
  if (dictionary.Exists(path.c_str())) throw std::bad_alloc();
  return {};
}

// The paths of an entry and of all below it, in pre-order; none where it is missing.
inline std::vector<std::string> PathsFrom(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder paths;
  if (dictionary.EnumeratePaths(path.c_str(), paths.get())) return paths.Texts();
  if (dictionary.Exists(path.c_str())) throw std::bad_alloc();
  return {};
}

}  // namespace OrvWorkFlow::Base
