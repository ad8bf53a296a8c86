// The content directories that a node gets before every input signal: the read directories of its workflow and of each
// workflow that absorbed it, nearest first.
#pragma once

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
  // For the node defined at that path. Never null.
  std::shared_ptr<const FlowDirectories> Get(IDictionary& dictionary, const std::string& definition);

 private:
  using Flow = std::shared_ptr<const FlowDirectories>;
  using FlowTable = std::unordered_map<std::string, Flow>;

  // One state of one dictionary.
  struct Source {
    const IDictionary* dictionary = nullptr;
    std::uint64_t change_count = 0;
    bool operator==(const Source&) const = default;
  };

  // Null when nothing is kept under that key for this source; what was kept for another is forgotten.
  Flow Find(const FlowTable& table, const std::string& key, const Source& source);
  void Keep(FlowTable& table, const std::string& key, const Flow& flow, const Source& source);

  std::mutex mutex_;
  Source source_;
  FlowTable by_definition_;
  FlowTable by_workflow_;
};

}  // namespace OrvWorkFlow
