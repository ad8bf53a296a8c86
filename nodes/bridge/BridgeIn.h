// The receiving end of a bridge: fires a signal for each that comes, once each and in the order of its sender.
//
// Below /BridgeIn/<instance>: Id, Epoch; Signal, Number and Sender of what was told of last, and Values with what it
// carries, each below the path that it has at the sender; Told and Taken, the counts of what was fired and of "next";
// Senders/S<id>, what is known of each: Epoch, Mark, Highest, Refused/N<number> with the reason; Connection, why
// nothing comes now.
#pragma once

#include <string>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class BridgeIn final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "BridgeIn";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  BridgeIn() : TaskNode(kTypeName, kDescription, kRules) {}
  std::int32_t MostSignalsFired() override { return kAnyNumber; }

 private:
  bool OnSignal(std::string_view signal) override;
  const char* DoTask(const std::string& task) override;
  void ClearRecord() override;

  Bridge::Receiver MakeReceiver(const Bridge::Id& id);
  bool MayDeliver() const;
  void Deliver(Bridge::Receiver& receiver, const Bridge::Data& data);
  void Answer(Bridge::Receiver& receiver, Bridge::Transport& transport, const std::string& bridge);
  void Hear(Bridge::Receiver& receiver, const std::string& bytes);
  void WriteStanding(const Bridge::Id& sender, const Bridge::Receiver::Standing& standing);
  std::string ReasonAgainst(const std::string& signal) const;

  bool has_said_ = false;    // of deliveries: that it awaits the record itself
  Bridge::Promise promise_;  // of what is acknowledged
};

}  // namespace OrvWorkFlow::Nodes
