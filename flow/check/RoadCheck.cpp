// What the wiring leads to as a whole: nodes that no signal can come to, and circles that no signal gets out of.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"
#include "flow/graph/Circles.h"

namespace OrvWorkFlow::Flow {

namespace {

using Place = std::size_t;  // of an instance

struct Node {
  const NodeType* type = nullptr;
  const Instance* instance = nullptr;
  const NodeDescription* kind = nullptr;
  std::vector<Place> next;  // without the same one twice
  bool has_way_out = false;
  bool is_own = true;  // of the workflow that is looked at, not of one beside it
};

std::string KeyOf(const std::string& type, const std::string& instance) { return type + "," + instance; }
std::string NameOf(const Node& node) { return node.type->name + " " + node.instance->name; }

class RoadCheck {
 public:
  // All in the order in which they begin, whichever is looked at, so that each finding is made once.
  RoadCheck(const Workflow& workflow, const NodeKinds& kinds, const std::vector<FlowBeside>& beside, Findings& findings)
      : findings_(findings) {
    for (const FlowBeside& flow : beside) {
      if (flow.comes_first) AddNodes(flow.workflow, kinds, false);
    }
    AddNodes(workflow, kinds, true);
    for (const FlowBeside& flow : beside) {
      if (!flow.comes_first) AddNodes(flow.workflow, kinds, false);
    }
    for (Node& node : nodes_) ReadRoads(node);
  }

  void CheckReached() {
    std::vector<bool> reached(nodes_.size(), false);
    std::vector<Place> waiting;
    const auto reach = [&](Place place) {
      if (!reached[place]) waiting.push_back(place);
      reached[place] = true;
    };
    bool begins = false;
    for (const Address& start : starts_) {
      const auto first = places_.find(KeyOf(start.type, start.instance));
      if (first == places_.end()) continue;
      reach(first->second);
      begins = true;
    }
    if (!begins) return;
    // What says nothing about itself may begin on its own.
    for (Place place = 0; place < nodes_.size(); ++place) {
      if (nodes_[place].kind == nullptr) reach(place);
    }
    while (!waiting.empty()) {
      const Place place = waiting.back();
      waiting.pop_back();
      for (const Place next : nodes_[place].next) reach(next);
    }
    TellUnreached(reached);
  }

  void CheckCircles() {
    std::vector<std::vector<Place>> roads;
    for (const Node& node : nodes_) roads.push_back(node.next);
    for (const std::vector<Place>& circle : FindCircles(roads)) {
      const std::unordered_set<Place> inside(circle.begin(), circle.end());
      const bool ends = std::any_of(circle.begin(), circle.end(), [&](Place place) {
        const Node& node = nodes_[place];
        return node.kind == nullptr || node.has_way_out ||
               std::any_of(node.next.begin(), node.next.end(), [&](Place next) { return inside.count(next) == 0; });
      });
      if (ends) continue;
      std::vector<std::string> names;
      for (const Place place : circle) {
        if (names.size() < kMostNames) names.push_back(NameOf(nodes_[place]));
      }
      const std::string more = circle.size() > names.size() ? ", and others" : "";
      Add(Severity::Warning, circle.front(),
          circle.size() == 1 ? "its signals lead to itself only, so the workflow never comes to its end"
                             : "signals go round for ever between " + Base::Enumerate(names) + more,
          std::string("map one of their signals to a node outside, or say that it is meant: a boolean yes in ") +
              kEndlessIsMeant);
    }
  }

 private:
  static constexpr std::size_t kMostNames = 4;

  void AddNodes(const Workflow& workflow, const NodeKinds& kinds, bool is_own) {
    starts_.push_back(workflow.start);
    for (const NodeType& type : workflow.types) {
      const auto kind = kinds.find(type.name);
      for (const Instance& instance : type.instances) {
        places_.emplace(KeyOf(type.name, instance.name), nodes_.size());
        nodes_.push_back({&type, &instance, kind == kinds.end() ? nullptr : kind->second, {}, false, is_own});
      }
    }
  }

  // Those that no other instance leads to are named elsewhere.
  void TellUnreached(const std::vector<bool>& reached) {
    std::unordered_map<Place, std::vector<std::string>> from;
    for (Place place = 0; place < nodes_.size(); ++place) {
      for (const Place next : nodes_[place].next) {
        if (reached[next] || next == place) continue;
        std::vector<std::string>& names = from[next];
        if (names.size() < kMostNames) names.push_back(NameOf(nodes_[place]));
      }
    }
    for (Place place = 0; place < nodes_.size(); ++place) {
      const auto names = from.find(place);
      if (names == from.end()) continue;
      Add(Severity::Note, place,
          "no signal comes to this instance, since none comes to " + Base::Enumerate(names->second), "");
    }
  }

  void ReadRoads(Node& node) {
    std::unordered_set<std::string> mapped;
    for (const OutputSignal& output : node.instance->outputs) {
      for (const Mapping& mapping : output.mappings) {
        if (!mapping.receiver) continue;
        const auto receiver = places_.find(KeyOf(mapping.receiver->type, mapping.receiver->instance));
        // To somebody who may come later.
        if (receiver == places_.end()) node.has_way_out = true;
        if (receiver != places_.end()) node.next.push_back(receiver->second);
        mapped.insert(output.name);
      }
    }
    std::sort(node.next.begin(), node.next.end());
    node.next.erase(std::unique(node.next.begin(), node.next.end()), node.next.end());
    if (node.kind == nullptr) return;
    // A signal that nobody takes ends its road.
    for (const NodeOutput& output : node.kind->outputs) {
      if (mapped.count(output.name) == 0) node.has_way_out = true;
    }
  }

  void Add(Severity severity, Place place, std::string what, std::string remedy) {
    if (!nodes_[place].is_own) return;
    findings_.push_back({severity, Area::Wiring, nodes_[place].instance->path, std::move(what), std::move(remedy)});
  }

  std::vector<Node> nodes_;
  std::unordered_map<std::string, Place> places_;
  std::vector<Address> starts_;
  Findings& findings_;
};

}  // namespace

void CheckRoads(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds, const CheckOptions& options,
                Findings& findings) {
  RoadCheck check(workflow, kinds, options.beside, findings);
  const bool is_whole = !options.is_continued && !MayTakeOthersIn(workflow, options);
  // An error may be why nothing comes.
  if (is_whole && !HasErrors(findings)) check.CheckReached();
  bool is_meant = false;
  if (dictionary.GetValue(kEndlessIsMeant, &is_meant) && is_meant) return;
  check.CheckCircles();
}

}  // namespace OrvWorkFlow::Flow
