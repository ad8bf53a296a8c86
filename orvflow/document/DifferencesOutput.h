// Differences as people and programs read them.
#pragma once

#include <string>
#include <vector>

#include "nlohmann/json_fwd.hpp"
#include "orvflow/document/Differences.h"
#include "orvflow/terminal/Colours.h"

namespace OrvWorkFlow::Program {

// "/Path: value", with its attributes. The path is ready to be shown.
std::string EntryAsText(const std::string& path, const EntryContent& content);
// Its type, texts and attributes.
nlohmann::ordered_json EntryAsJson(const EntryContent& content);

// "- /Path: value" for what is only in the first, "+ ..." for what is only in the second, "~ /Path: old -> new" for
// what has changed, and a line that counts; "" for none.
std::string DifferencesAsText(const std::vector<Difference>& differences, const std::string& first_name,
                              const std::string& second_name, const Colours& colours);
// docs/differences.schema.json.
std::string DifferencesAsJson(const std::vector<Difference>& differences, const std::string& first_name,
                              const std::string& second_name);

}  // namespace OrvWorkFlow::Program
