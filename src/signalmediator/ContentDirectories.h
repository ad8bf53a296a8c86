// The content directories that a node gets before every input signal: the read directories of its workflow and of each
// workflow that absorbed it, nearest first.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow {

struct FlowDirectories {
  std::string workflow_name;
  bool in_absorb_tree = false;
  std::vector<std::string> directories;  // empty when the workflow is not in the tree
};

// Reads them from the absorb tree. What the dictionary throws passes through.
FlowDirectories ReadFlowDirectories(IDictionary& dictionary, const std::string& workflow_name);

// Keeps what was read for as long as the dictionary does not change. Any thread; the leaf lock is not held while the
// dictionary is read.
class ContentDirectories {
 public:
  using Flow = std::shared_ptr<const FlowDirectories>;

 private:
  // What holds in one state of one dictionary.
  struct Known {
    const IDictionary* dictionary = nullptr;
    std::uint64_t change_count = 0;
    Flow flow;  // null: nothing is known

    bool IsOfSameState(const Known& other) const {
      return dictionary == other.dictionary && change_count == other.change_count;
    }
  };

 public:
  // What is kept for one node; lives with the node.
  class OfNode {
    friend class ContentDirectories;
    Known known;  // the mediator's access lock guards it
    Known fresh;  // the leaf lock guards it: what is to become `known`
    std::atomic<bool> has_fresh = false;
  };

  // What is known of the node in the dictionary's present state, or null. With the mediator's access lock held.
  Flow Recall(IDictionary& dictionary, OfNode& kept);

  // Reads the directories of the node defined at that path. Never null. Waits for no lock that is held while nodes run.
  Flow Read(IDictionary& dictionary, const std::string& definition, OfNode& kept);

 private:
  Flow Find(const std::string& workflow_name, const Known& state);
  void Keep(const std::string& workflow_name, const Known& state, OfNode& kept);

  std::mutex mutex_;
  Known state_;  // of the table; without a flow
  std::unordered_map<std::string, Flow> by_workflow_;
};

}  // namespace OrvWorkFlow
