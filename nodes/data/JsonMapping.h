// JSON as entries of a dictionary, and back.
//
//   object                an entry with an entry for each member; a name holds letters, digits, "_" and "-" only
//   text, true, false     a value of type str, Bool
//   number                int where it has 32 bits, dbl where six digits behind the point say it; any other str, marked
//                         json="number", so that no digit is lost
//   array of texts, of numbers that are int or dbl, of truth values, not empty     a list
//   any other array       entries i1, i2 and so on, marked json="array"
//   null, empty object    an entry without a value, marked json="null", json="object"
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

// The entry holds what the text says, and is to become its target. Throws std::runtime_error, with the place in the
// text or the member that no entry can hold, and leaves the target alone then. False when it was stopped: `done`, which
// begins with 0, is what makes another call with the same text and the entry as it was left go on there.
bool JsonToEntries(const std::string& json, ComingEntry& entry, std::int64_t& done,
                   const std::function<bool()>& stop_wanted);

// `indent` blanks a level; 0 puts all into one line. Throws std::runtime_error for what JSON cannot say. Nothing when
// it was stopped.
std::optional<std::string> EntriesToJson(IDictionary& dictionary, const std::string& entry, int indent,
                                         const std::function<bool()>& stop_wanted);

}  // namespace OrvWorkFlow::Nodes
