// Where the absorb tree of the global dictionary shows which workflow.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "CoreObjects/WatchedGlobalDictionary.h"
#include "OrvWorkFlow/IDictionary.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Mediator {

// Remembers the tree. One that has grown by some leaves, as each absorbed workflow makes it grow, is not read again:
// only they are. Any thread; the leaf lock is not held while the dictionary is read.
class AbsorbPlaces {
 public:
  // The path of the first entry in pre-order that holds the name, the tree itself left out. `tree` is the state of the
  // tree as it was recalled just before, and `changes` tells how it became that. What the dictionary throws passes
  // through.
  std::optional<std::string> Find(IDictionary& dictionary, const WatchedState& tree, const WatchedChanges& changes,
                                  const std::string& workflow_name);

 private:
  struct Leaf {
    std::string path;
    std::optional<std::string> name;
  };

  // The tree in one state.
  struct Places {
    void Add(std::string path, std::optional<std::string> name);
    std::optional<std::string> Find(const std::string& name) const;
    bool MayTake(const std::vector<Leaf>& leaves) const;

    std::unordered_set<std::string> paths;  // of all entries
    std::unordered_map<std::string, std::string> by_name;
  };

  static Places ReadTree(IDictionary& dictionary);
  static std::optional<std::vector<Leaf>> ReadLeaves(IDictionary& dictionary, std::vector<std::string> paths);
  bool FindGrown(IDictionary& dictionary, const WatchedChanges& changes, const std::string& name,
                 std::optional<std::string>& place);

  Base::Mutex mutex_;
  WatchedState state_ ORV_GUARDED_BY(mutex_);  // of the places
  Places places_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Mediator
