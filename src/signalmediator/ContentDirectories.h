// The content directories that a node gets before every input signal: the read directories of its workflow and of each
// workflow that absorbed it, nearest first.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "CoreObjects/WatchedGlobalDictionary.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow {

struct FlowDirectories {
  std::string workflow_name;
  bool in_absorb_tree = false;
  std::vector<std::string> directories;  // empty when the workflow is not in the tree
};

// Reads them from the absorb tree. What the dictionary throws passes through.
FlowDirectories ReadFlowDirectories(IDictionary& dictionary, const std::string& workflow_name);

// The part of the dictionary that the directories rest on.
inline constexpr std::array<const char*, 3> kWatchedDirectories = {
    WorkflowSchema::kAllInstanceWorkFlowNames, WorkflowSchema::kAbsorbTree, WorkflowSchema::kDirectories};

// Keeps what was read for as long as that part does not change. Any thread; the leaf lock is not held while the
// dictionary is read.
class ContentDirectories {
 public:
  using Flow = std::shared_ptr<const FlowDirectories>;

 private:
  // What holds in one state of one dictionary.
  struct Known {
    WatchedState state;
    Flow flow;  // null: nothing is known
  };

 public:
  // What is kept for one node; lives with the node.
  class OfNode {
    friend class ContentDirectories;
    Known known;  // the mediator's access lock guards it
    Known fresh;  // the leaf lock guards it: what is to become `known`
    std::atomic<bool> has_fresh = false;
  };

  // The present state of the dictionary, and what is known of the node in it; null for nothing.
  struct Recalled {
    WatchedState state;
    Flow flow;
  };
  // With the mediator's access lock held.
  Recalled Recall(OfNode& kept);

  // Reads the directories of the node defined at that path, in the dictionary of a state that was recalled before and
  // has one. Never null. Waits for no lock that is held while nodes run.
  Flow Read(const WatchedState& state, const std::string& definition, OfNode& kept);

 private:
  Flow Find(const std::string& workflow_name, const WatchedState& state);
  void Keep(const std::string& workflow_name, const Known& found, OfNode& kept);

  WatchedGlobalDictionary<kWatchedDirectories> dictionary_;

  std::mutex mutex_;
  WatchedState state_;  // of the table
  std::unordered_map<std::string, Flow> by_workflow_;
};

}  // namespace OrvWorkFlow
