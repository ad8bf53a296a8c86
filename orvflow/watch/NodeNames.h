// Numbers in place of names that come again and again.
#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace OrvWorkFlow::Program {

// One thread at a time.
class NodeNames {
 public:
  static constexpr std::uint32_t kNone = 0;

  // One end of a signal: a node and one of its signals. Both kNone where there is none.
  struct End {
    std::uint32_t node = kNone;
    std::uint32_t signal = kNone;
    auto operator<=>(const End&) const = default;
  };
  struct Node {
    std::string type;
    std::string instance;
  };

  NodeNames() : nodes_(1), signals_(1) {}
  NodeNames(const NodeNames&) = delete;
  NodeNames& operator=(const NodeNames&) = delete;

  // The same number for the same names. Three empty names are no end.
  End NumberOf(std::string_view type, std::string_view instance, std::string_view signal);
  std::uint32_t NumberOfNode(std::string_view type, std::string_view instance);

  const Node& NodeOf(std::uint32_t node) const { return nodes_[node]; }
  const std::string& SignalOf(std::uint32_t signal) const { return signals_[signal]; }
  // All numbers of nodes are below.
  std::size_t EndOfNodes() const { return nodes_.size(); }

 private:
  struct NodeView {
    std::string_view type;
    std::string_view instance;
    bool operator==(const NodeView&) const = default;
  };
  struct NodeHash {
    std::size_t operator()(const NodeView& node) const {
      const std::hash<std::string_view> hash;
      return hash(node.type) * 31 + hash(node.instance);
    }
  };

  // Their elements never move, so that the views below stay good.
  std::deque<Node> nodes_;
  std::deque<std::string> signals_;
  std::unordered_map<NodeView, std::uint32_t, NodeHash> node_numbers_;
  std::unordered_map<std::string_view, std::uint32_t> signal_numbers_;
};

}  // namespace OrvWorkFlow::Program
