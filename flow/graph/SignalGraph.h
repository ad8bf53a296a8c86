// The wiring of workflows that run together as a graph: what each instance may fire, and whom that comes to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "flow/model/NodeKind.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

inline constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

struct GraphTarget {
  std::size_t place = kNowhere;  // of the instance; kNowhere when there is none
  Address receiver;
  bool is_taken = false;  // the instance is there, and does not say that it takes no such signal
};

struct GraphOutput {
  std::string name;
  bool must_be_taken = false;
  std::vector<GraphTarget> targets;
};

struct GraphNode {
  std::string type;
  std::string instance;
  std::string path;                       // of the dictionary
  const NodeDescription* kind = nullptr;  // null when it says nothing about itself
  std::int32_t most_fired = -1;           // for one signal; negative when it does not say
  std::vector<GraphOutput> outputs;       // all that it declares; of one that says nothing all that are mapped

  std::string Name() const { return type + " " + instance; }
  bool Fires() const { return most_fired != 0; }
};

struct SignalGraph {
  std::vector<GraphNode> nodes;
  std::vector<GraphTarget> starts;  // in the order of the workflows
};

// What a node type says about itself.
struct NodeFacts {
  const NodeDescription* kind = nullptr;
  std::int32_t most_fired = -1;
};

// Workflows in the order in which they begin; what stands in two of them is that of both. `facts` is asked once for
// each type.
SignalGraph MakeSignalGraph(const std::vector<const Workflow*>& workflows,
                            const std::function<NodeFacts(const std::string& type)>& facts);

}  // namespace OrvWorkFlow::Flow
