// Workflows made by chance, with queues, fan-outs, nodes that are at work between signals, and a second workflow that
// is absorbed on the way; and an obvious model of what is delivered when such a workflow runs without a stop.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orv_test {

// What the nodes do:
// - "in" counts. As long as the workflow's budget lasts it fires "out", and every third time "alt" behind that;
//   a worker begins to work. The node that absorbs then takes the second workflow in when its count is the one given.
// - "end" fires "res" when the worker is at work, which it then is no more.
struct RandomFlow {
  struct Target {
    int node = 0;
    bool end = false;  // the signal "end", else "in"
  };
  struct Node {
    bool worker = false;
    std::vector<Target> out;
    std::vector<Target> alt;
    std::vector<Target> res;
  };

  explicit RandomFlow(std::uint32_t seed);

  static std::string NameOf(int node) { return "N" + std::to_string(node); }

  // "top.xml" and "extra.xml", the workflows "Top" and "Extra".
  void Write(const std::filesystem::path& directory) const;

  // What is delivered, in order, as "node.signal"; behind an "end" that found the worker at work stands "!".
  std::vector<std::string> ExpectedTrace() const;

  int budget = 0;  // how often nodes may fire "out"
  int absorber = 0;
  int absorb_at = 0;
  int top_nodes = 0;  // these are in Top, the others in Extra; each begins with its first
  std::vector<Node> nodes;
};

}  // namespace orv_test
