// Work on whole subtrees: an entry with its content and everything below it. Linear in the elements; nothing recurses.
//
// Source and target may be one tree, with neither entry within the other. What throws throws std::bad_alloc and leaves
// the target with a part. The attribute of the file version belongs to a file's root and is left out of what is copied,
// merged and compared.
#pragma once

#include <string>
#include <vector>

#include "dictionary/tree/ElementTree.h"

namespace OrvWorkFlow::Core::Dictionary {

// Takes content and children; the entry stays.
void ClearEntry(ElementTree& tree, ElementId entry);

// Gives the entry, which has no children, the content of another and a copy of everything below that one.
void CopyEntry(const ElementTree& source, ElementId from, ElementTree& target, ElementId to);

// Adds what `from` and the elements below it have: a value in place of the target's, attributes one by one, children
// that are missing.
void MergeEntry(ElementTree& source, ElementId from, ElementTree& target, ElementId to);

// The paths, below the two entries, at which they differ: "" for themselves. Throws std::length_error when they are
// longer than kMaxTextSize in all.
std::vector<std::string> CompareEntries(ElementTree& first, ElementId a, ElementTree& second, ElementId b);

}  // namespace OrvWorkFlow::Core::Dictionary
