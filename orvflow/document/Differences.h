// In what two dictionaries differ, by path.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvflow/document/EntryContent.h"

namespace OrvWorkFlow::Program {

struct Difference {
  enum class Kind {
    Removed,
    Added,
    Changed,  // another value, type or attribute
    Order,    // the entries below it that both have stand in another order
  };
  Kind kind = Kind::Changed;
  std::string path;  // "/" is the root
  std::optional<EntryContent> old_content;
  std::optional<EntryContent> new_content;
  std::vector<std::string> old_order;
  std::vector<std::string> new_order;
};

// In the order of the first document's entries, what the second one has more behind its siblings. What is added or
// removed is one difference an entry, those above it first. Comments, and how the files are laid out, are none.
std::vector<Difference> FindDifferences(const Document& first, const Document& second);

}  // namespace OrvWorkFlow::Program
