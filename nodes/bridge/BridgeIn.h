// The receiving end of a bridge: fires a signal for each that comes, once each and in the order of its sender.
//
// Below /BridgeIn/<instance>: Id, Epoch; Signal, Number and Sender of what was told of last, and Values with what it
// carries, each below the path that it has at the sender; Told and Taken, the counts of what was fired and of "next";
// Senders, see ReceivingEnd.h; Connection, why nothing comes now.
#pragma once

#include <string>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/ReceivingEnd.h"
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

  bool MayDeliver() const;
  void Deliver(Bridge::ReceivingEnd& receiving, const Bridge::Data& data);
  std::string ReasonAgainst(const Bridge::Letter& letter) const;

  bool has_said_ = false;    // of deliveries: that it awaits the record itself
  Bridge::Promise promise_;  // of what is acknowledged
};

}  // namespace OrvWorkFlow::Nodes
