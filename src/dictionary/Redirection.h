// Entries that stand for others: the attribute "_isRedirection" is not zero, and the value is a list of paths.
#pragma once

#include <string_view>

#include "dictionary/ElementTree.h"
#include "dictionary/EntryPath.h"

namespace OrvWorkFlow {

// Redirections that one operation follows in all before it fails; so those that lead to themselves fail.
inline constexpr unsigned kMaxRedirections = 16;

// The entry that a reader of this type gets: the one at `path` if it is of the type; for a redirection the first of its
// paths, in list order, that leads to such an entry. kNoElement when there is none.
ElementId FindReadEntry(ElementTree& tree, std::string_view path, ValueType type);

// Where a write to `path` goes.
struct WrittenEntry {
  EntryPlace place;            // Without an element when the entry has to be made first,
  std::string_view path;       // at this path, which may be a view of the tree.
  bool is_redirected = false;  // It is not the path that was asked for.
  bool is_lost = false;        // Too many redirections, or one without paths: the write fails.
};

// `path` itself, unless it is a redirection: then the first of its paths that exists, or else the first of them.
WrittenEntry FindWrittenEntry(ElementTree& tree, std::string_view path);

}  // namespace OrvWorkFlow
