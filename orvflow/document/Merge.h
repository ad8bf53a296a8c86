// Three-way merge of dictionaries by their entries.
#pragma once

#include <string>
#include <vector>

#include "orvflow/document/Document.h"

namespace OrvWorkFlow::Program {

// Begins the comment that a conflict leaves in the merged text.
inline constexpr char kConflictMark[] = "<!-- CONFLICT ";

struct MergeConflict {
  std::string path;  // "/" is the root
  std::string what;  // for people: what base, ours and theirs are
};

struct MergeResult {
  Document document;
  std::vector<MergeConflict> conflicts;
};

// What one side alone has changed since `base` is taken from that side. The unit is an entry's value (with its type; a
// list as a whole), each attribute, the removal of an entry with all below it, and the order of entries that all have.
// Where both sides changed one and not alike, ours stands, and a comment above it shows the other two. Comments never
// conflict: where both sides changed them, ours stand and new ones of theirs follow.
MergeResult Merge(const Document& base, const Document& ours, const Document& theirs);

}  // namespace OrvWorkFlow::Program
