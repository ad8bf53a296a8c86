#include "tests/platforms/RandomFlow.h"

#include <deque>
#include <random>

#include "tests/support/TempDirectory.h"

namespace orv_test {

namespace {

// The distributions of the standard library differ between implementations.
class Chance {
 public:
  explicit Chance(std::uint32_t seed) : engine_(seed) {}
  // From 0 to `count` - 1.
  int Below(int count) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(count)); }
  bool OneIn(int count) { return Below(count) == 0; }

 private:
  std::mt19937 engine_;
};

std::vector<RandomFlow::Target> Targets(Chance& chance, int count, int first_node, int nodes) {
  std::vector<RandomFlow::Target> targets;
  for (int i = 0; i < count; ++i) targets.push_back({first_node + chance.Below(nodes), chance.OneIn(3)});
  return targets;
}

std::string Text(const std::string& name, const std::string& value) {
  return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
}

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string Maps(const std::string& signal, const std::vector<RandomFlow::Target>& targets) {
  std::string maps;
  for (std::size_t i = 0; i < targets.size(); ++i) {
    maps += Text("map" + std::to_string(i),
                 "Player," + RandomFlow::NameOf(targets[i].node) + (targets[i].end ? ",end" : ",in"));
  }
  return Element(signal, maps);
}

std::string WorkflowText(const RandomFlow& flow, const std::string& name, int begin, int end) {
  std::string instances;
  for (int i = begin; i < end; ++i) {
    const RandomFlow::Node& node = flow.nodes[static_cast<std::size_t>(i)];
    instances += Element(
        RandomFlow::NameOf(i),
        Text("wfName", name) + Element("maps", Maps("out", node.out) + Maps("alt", node.alt) + Maps("res", node.res)));
  }
  const std::string start = Text("ReceiverTypeName", "Player") +
                            Text("ReceiverInstanceName", RandomFlow::NameOf(begin)) + Text("IncomingSignalName", "in");
  const std::string engine =
      Text("WorkFlowName", name) + Element("AbsorbTree", Text("node0", name)) +
      Element("Mappings", Element("StartSignal", start)) +
      Element("WorkNodes", Element("Player", Element("Binaries", Text("win32_bin", "GoodPlugin")) +
                                                 Element("Instances", instances)));
  return Element("IDictionaryRoot", Element("WorkFlowEngine", engine));
}

}  // namespace

RandomFlow::RandomFlow(std::uint32_t seed) {
  Chance chance(seed);
  top_nodes = 2 + chance.Below(5);
  const int extra_nodes = 1 + chance.Below(4);
  budget = 8 + chance.Below(12);
  absorber = chance.Below(top_nodes);
  absorb_at = 1 + chance.Below(3);
  for (int i = 0; i < top_nodes + extra_nodes; ++i) {
    // Nobody outside knows the nodes of the second workflow: they are not there at first.
    const bool top = i < top_nodes;
    const int known = top ? top_nodes : top_nodes + extra_nodes;
    Node node;
    node.worker = chance.OneIn(2);
    node.out = Targets(chance, 1 + chance.Below(3), 0, known);
    node.alt = Targets(chance, chance.Below(3), 0, known);
    node.res = Targets(chance, chance.Below(2), 0, known);
    nodes.push_back(std::move(node));
  }
  nodes.front().out.push_back({absorber, false});
}

void RandomFlow::Write(const std::filesystem::path& directory) const {
  WriteFile(directory / "top.xml", WorkflowText(*this, "Top", 0, top_nodes));
  WriteFile(directory / "extra.xml", WorkflowText(*this, "Extra", top_nodes, static_cast<int>(nodes.size())));
}

std::vector<std::string> RandomFlow::ExpectedTrace() const {
  std::vector<std::string> trace;
  std::deque<Target> queue = {{0, false}};
  std::vector<int> counts(nodes.size());
  std::vector<bool> working(nodes.size());
  int left = budget;
  const auto fire = [&](const std::vector<Target>& targets) {
    queue.insert(queue.end(), targets.begin(), targets.end());
  };
  while (!queue.empty()) {
    const Target target = queue.front();
    queue.pop_front();
    const auto index = static_cast<std::size_t>(target.node);
    const Node& node = nodes[index];
    std::string line = NameOf(target.node) + (target.end ? ".end" : ".in");
    if (target.end) {
      if (working[index]) {
        line += "!";
        working[index] = false;
        fire(node.res);
      }
    } else {
      const int count = ++counts[index];
      if (node.worker) working[index] = true;
      if (left > 0) {
        --left;
        fire(node.out);
        if (count % 3 == 0) fire(node.alt);
      }
      if (target.node == absorber && count == absorb_at) queue.push_back({top_nodes, false});
    }
    trace.push_back(std::move(line));
  }
  return trace;
}

}  // namespace orv_test
