// The tree of workflows in the global dictionary: below each the ones that it absorbed. The workflow that runs at first
// is "node0"; entries hold plain names.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow {

// True when an entry of the tree, from "node0" on, holds the name; never for "".
bool IsInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name);

enum class TreeChange { None, Added, Moved };

// Puts a workflow directly below the first of `absorbers` that the tree shows, or below "node0", which is made from the
// workflow's name when it is missing. One that stands elsewhere is moved with all below it, but never below itself; the
// top stays where it is. One thread at a time. Throws std::bad_alloc when the tree cannot be read or written.
TreeChange PutInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name,
                           const std::vector<std::string>& absorbers);

}  // namespace OrvWorkFlow
