// The tree of workflows in the global dictionary: below each the ones that it absorbed. The workflow that runs at first
// is "node0"; entries hold plain names.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "CoreObjects/WatchedGlobalDictionary.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow::Core::Engine {

// True when an entry of the tree, from "node0" on, holds the name; never for "".
bool IsInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name);

enum class TreeChange { None, Added, Moved };

// The part of the dictionary in which the tree is.
inline constexpr std::array<const char*, 1> kWatchedAbsorbTree = {WorkflowSchema::kAbsorbTree};

// Changes the tree, and remembers where everybody stands as long as nobody else changes it: a workflow is put beside
// thousands without looking at them. One thread at a time.
class AbsorbTree {
 public:
  // Puts a workflow directly below the first of `absorbers` that the tree shows, or below "node0", which is made from
  // the workflow's name when it is missing. One that stands elsewhere is moved with all below it, but never below
  // itself; the top stays where it is. Throws std::bad_alloc when the tree cannot be read or written.
  TreeChange Put(const std::string& workflow_name, const std::vector<std::string>& absorbers);

 private:
  void Read();
  const std::string* Find(const std::string& workflow_name) const;
  std::uint64_t LowestFreeBelow(const std::string& parent);
  void Add(const std::string& parent, const std::string& workflow_name);

  WatchedGlobalDictionary<kWatchedAbsorbTree> dictionary_;
  WatchedState state_;                                        // in which the following holds
  std::unordered_map<std::string, std::string> places_;       // paths by name: the first of a name in pre-order
  std::unordered_map<std::string, std::uint64_t> all_taken_;  // by a parent's path: up to that number
};

}  // namespace OrvWorkFlow::Core::Engine
