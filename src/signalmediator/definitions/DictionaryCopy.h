// Copying a part of one dictionary into another.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Core::Mediator {

// Copies the entry and all below it to the same path of the other dictionary. Entries merge by path: a value replaces
// the one that was there as a whole, what only the other dictionary has stays, an entry without a value only makes sure
// that it exists. A redirected entry is copied with the value that it shows. Listeners are told, which they are not by
// the dictionary's own operations on subtrees. Throws std::bad_alloc when something is there and cannot be copied; what
// a dictionary throws passes through.
void MergeSubtree(IDictionary& from, IDictionary& to, const std::string& path);

}  // namespace OrvWorkFlow::Core::Mediator
