// Entries that stand for others: the attribute "_isRedirection" is not zero, and the value is a list of paths.
#pragma once

#include <optional>
#include <string_view>

#include "dictionary/tree/ElementTree.h"
#include "dictionary/tree/EntryPath.h"

namespace OrvWorkFlow::Core::Dictionary {

// Redirections that one operation follows in all before it fails; so those that lead to themselves fail.
inline constexpr unsigned kMaxRedirections = 16;

// The entry that a reader of this type gets: the one at `path` if it is of the type; for a redirection the first of its
// paths, in list order, that leads to such an entry. kNoElement when there is none.
ElementId FindReadEntry(ElementTree& tree, std::string_view path, ValueType type);

// Where a write to a redirection goes.
struct RedirectedWrite {
  std::string_view path;  // May be a view of the tree.
  EntryPlace place;       // What FindPlace gives for it.
};

// To the first of the redirection's paths that exists, or else to the first of them; from there on where that is a
// redirection too. None when there are too many of them, when one has no paths, and when a path with that name must not
// be written.
std::optional<RedirectedWrite> FollowToWrite(ElementTree& tree, ElementId redirection);

}  // namespace OrvWorkFlow::Core::Dictionary
