// The sending end of a bridge: what it is told to send stands in the workflow's dictionary until the workflow at the
// other end has got it.
//
// Below /BridgeOut/<instance>, beside what SendingNode.h says: Dead/N<number>, what the other end has refused, with the
// Reason, and DeadNumber and DeadReason of the last one, DeadCount, and DeadTold, of how many "parked" has told.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "nodes/bridge/BridgeFrames.h"
#include "nodes/bridge/SendingEnd.h"
#include "nodes/bridge/SendingNode.h"

namespace OrvWorkFlow::Nodes {

class BridgeOut final : public SendingNode {
 public:
  static constexpr char kTypeName[] = "BridgeOut";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  BridgeOut() : SendingNode(kTypeName, kDescription, kRules) {}

 private:
  static constexpr char kReceivers[] = "Receivers";
  static constexpr char kDead[] = "Dead";
  static constexpr char kDeadCount[] = "DeadCount";
  static constexpr char kDeadReason[] = "DeadReason";
  static constexpr char kDeadTold[] = "DeadTold";

  bool OnSignal(std::string_view signal) override;
  Outcome Talk() override;
  void BeforeEnd() override { AskForParked(); }

  void Send();
  void TellParked();
  void AskForParked();
  Outcome TalkToOne();
  Outcome TalkToMany();
  std::string TalkOnce(const std::vector<Bridge::SendingEnd>& ends, bool is_idle);
  bool SayFarewell(const std::vector<Bridge::SendingEnd>& ends);
  void Listen(const Bridge::SendingEnd& end, std::chrono::milliseconds time);
  void Apply(const Bridge::SendingEnd& end, const Bridge::Sender::Change& change);
  void Park(const Bridge::SendingEnd& end, const Bridge::Refusal& refusal);

  std::int64_t asked_ = 0;  // of the thread: of how many dead letters "parked" will tell
};

}  // namespace OrvWorkFlow::Nodes
