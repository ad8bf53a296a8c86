// The content directories that a node gets before every input signal: the read directories of its workflow and of each
// workflow that absorbed it, nearest first.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "CoreObjects/WatchedGlobalDictionary.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/lock/Mutex.h"
#include "signalmediator/nodes/AbsorbPlaces.h"

namespace OrvWorkFlow::Core::Mediator {

struct FlowDirectories {
  std::string workflow_name;
  bool in_absorb_tree = false;
  std::vector<std::string> directories;  // empty when the workflow is not in the tree
};

// The part of the dictionary that the directories rest on.
inline constexpr std::array<const char*, 3> kWatchedDirectories = {
    WorkflowSchema::kAllInstanceWorkFlowNames, WorkflowSchema::kAbsorbTree, WorkflowSchema::kDirectories};
inline constexpr std::array<const char*, 1> kWatchedTree = {WorkflowSchema::kAbsorbTree};

// Keeps what was read for as long as that part does not change, and where the absorb tree shows whom for as long as
// that does not. Any thread; the leaf lock is not held while the dictionary is read.
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
    Known known_;  // the mediator's access lock guards it
    Known fresh_;  // the leaf lock guards it: what is to become `known_`
    std::atomic<bool> has_fresh_ = false;
  };

  // The present state of the dictionary, and what is known of the node in it; null for nothing.
  struct Recalled {
    WatchedState state;
    const FlowDirectories* flow = nullptr;
    Flow owner;         // of the flow, when it is shared
    WatchedState tree;  // when there is no flow
  };
  // A flow that is lent rather than shared is valid as long as `kept` is lent, which is then left as it is.
  enum class Giving { Share, Lend };
  // With the mediator's access lock held, or as much of it as its own Receive wants. `recalled` is empty before; filled
  // in its place, since to copy what was stored in halves just now takes as long as half of the look-up.
  void Recall(OfNode& kept, Giving giving, bool is_lent, Recalled& recalled) {
    if (!is_lent && kept.has_fresh_.load(std::memory_order_relaxed)) TakeFresh(kept);
    recalled.state = dictionary_.Get();
    if (kept.known_.state == recalled.state && kept.known_.flow != nullptr) {
      recalled.flow = kept.known_.flow.get();
      if (giving == Giving::Share) recalled.owner = kept.known_.flow;
    } else {
      recalled.tree = RecallTree();
    }
  }

  // Reads the directories of the node defined at that path, in a dictionary that was recalled just before. Never null.
  // Waits for no lock that is held while nodes run. What the dictionary throws passes through.
  Flow Read(const Recalled& recalled, const std::string& definition, OfNode& kept);

 private:
  void TakeFresh(OfNode& kept);
  WatchedState RecallTree();
  Flow ReadFlow(const Recalled& recalled, const std::string& workflow_name);
  Flow Find(const std::string& workflow_name, const WatchedState& state);
  void Keep(const std::string& workflow_name, const Known& found, OfNode& kept);

  // The mediator's access lock guards them.
  WatchedGlobalDictionary<kWatchedDirectories> dictionary_;
  WatchedGlobalDictionary<kWatchedTree> tree_;

  Base::Mutex mutex_;
  WatchedChanges tree_changes_ ORV_GUARDED_BY(mutex_);
  WatchedState state_ ORV_GUARDED_BY(mutex_);  // of the table
  std::unordered_map<std::string, Flow> by_workflow_ ORV_GUARDED_BY(mutex_);
  AbsorbPlaces places_;
};

}  // namespace OrvWorkFlow::Core::Mediator
