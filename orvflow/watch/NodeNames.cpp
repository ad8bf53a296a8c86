#include "orvflow/watch/NodeNames.h"

namespace OrvWorkFlow::Program {

NodeNames::End NodeNames::NumberOf(std::string_view type, std::string_view instance, std::string_view signal) {
  if (type.empty() && instance.empty() && signal.empty()) return {};
  End end = {NumberOfNode(type, instance), kNone};
  const auto found = signal_numbers_.find(signal);
  if (found != signal_numbers_.end()) {
    end.signal = found->second;
    return end;
  }
  end.signal = static_cast<std::uint32_t>(signals_.size());
  signal_numbers_.emplace(signals_.emplace_back(signal), end.signal);
  return end;
}

std::uint32_t NodeNames::NumberOfNode(std::string_view type, std::string_view instance) {
  const auto found = node_numbers_.find({type, instance});
  if (found != node_numbers_.end()) return found->second;
  const auto number = static_cast<std::uint32_t>(nodes_.size());
  const Node& node = nodes_.emplace_back(Node{std::string(type), std::string(instance)});
  node_numbers_.emplace(NodeView{node.type, node.instance}, number);
  return number;
}

}  // namespace OrvWorkFlow::Program
