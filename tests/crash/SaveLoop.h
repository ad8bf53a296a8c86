// Saving one dictionary again and again, and looking at what was saved.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orv_test {

// Once in a process: loads the library, and makes what a dictionary needs. Throws when that fails.
void MakeGlobalObjects();

// Saves dictionaries with rising numbers, beginning with `first`, to the file, for ever.
[[noreturn]] void SaveForEver(const std::string& file, std::int32_t first);

// The number of the dictionary in the file; nothing when the file does not load or is a mixture of two.
std::optional<std::int32_t> NumberOfSaved(const std::string& file);

}  // namespace orv_test
