// What is asked of a workflow's dictionary.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Flow {

// The text of a string entry; "" where there is none.
inline std::string TextAt(IDictionary& dictionary, const std::string& path) {
  return TextFrom([&](IOrvPString* text) { return dictionary.GetValue(path.c_str(), text); });
}

// The names of an entry's children; none where it is missing.
inline std::vector<std::string> NamesBelow(IDictionary& dictionary, const std::string& path) {
  const TextListHolder names;
  return dictionary.GetEntries(path.c_str(), names.get()) ? names.Texts() : std::vector<std::string>();
}

}  // namespace OrvWorkFlow::Flow
