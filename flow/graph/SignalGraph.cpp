#include "flow/graph/SignalGraph.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace OrvWorkFlow::Flow {

namespace {

std::string KeyOf(const std::string& type, const std::string& instance) { return type + "," + instance; }

class Maker {
 public:
  explicit Maker(const std::function<NodeFacts(const std::string&)>& facts) : ask_(facts) {}

  SignalGraph Make(const std::vector<const Workflow*>& workflows) {
    for (const Workflow* workflow : workflows) AddNodes(*workflow);
    for (const Workflow* workflow : workflows) {
      if (!workflow->start.type.empty()) graph_.starts.push_back(TargetFor(workflow->start));
      for (const NodeType& type : workflow->types) {
        for (const Instance& instance : type.instances) AddMappings(type, instance);
      }
    }
    return std::move(graph_);
  }

 private:
  const NodeFacts& FactsOf(const std::string& type) {
    const auto [known, is_new] = facts_.try_emplace(type);
    if (is_new) known->second = ask_(type);
    return known->second;
  }

  void AddNodes(const Workflow& workflow) {
    for (const NodeType& type : workflow.types) {
      for (const Instance& instance : type.instances) {
        if (!places_.emplace(KeyOf(type.name, instance.name), graph_.nodes.size()).second) continue;
        const NodeFacts& facts = FactsOf(type.name);
        GraphNode node{type.name, instance.name, instance.path, facts.kind, facts.most_fired, {}};
        if (facts.kind != nullptr) {
          for (const NodeOutput& output : facts.kind->outputs) {
            node.outputs.push_back({output.name, output.must_be_taken, {}});
          }
        }
        graph_.nodes.push_back(std::move(node));
      }
    }
  }

  void AddMappings(const NodeType& type, const Instance& instance) {
    GraphNode& node = graph_.nodes[places_.at(KeyOf(type.name, instance.name))];
    for (const OutputSignal& signal : instance.outputs) {
      auto output = std::find_if(node.outputs.begin(), node.outputs.end(),
                                 [&](const GraphOutput& known) { return known.name == signal.name; });
      if (output == node.outputs.end()) {
        if (node.kind != nullptr) continue;  // It never fires this one.
        output = node.outputs.insert(output, {signal.name, false, {}});
      }
      for (const Mapping& mapping : signal.mappings) {
        if (!mapping.receiver) break;  // The engine reads no further.
        output->targets.push_back(TargetFor(*mapping.receiver));
      }
    }
  }

  GraphTarget TargetFor(const Address& receiver) const {
    const auto place = places_.find(KeyOf(receiver.type, receiver.instance));
    if (place == places_.end()) return {kNowhere, receiver, false};
    const NodeDescription* const kind = graph_.nodes[place->second].kind;
    return {place->second, receiver, kind == nullptr || FindRow(kind->inputs, receiver.signal) != nullptr};
  }

  const std::function<NodeFacts(const std::string&)>& ask_;
  SignalGraph graph_;
  std::map<std::string, NodeFacts> facts_;
  std::unordered_map<std::string, std::size_t> places_;
};

}  // namespace

SignalGraph MakeSignalGraph(const std::vector<const Workflow*>& workflows,
                            const std::function<NodeFacts(const std::string& type)>& facts) {
  return Maker(facts).Make(workflows);
}

}  // namespace OrvWorkFlow::Flow
