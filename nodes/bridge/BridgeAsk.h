// The end of a bridge that asks: a request stands in the workflow's dictionary until it is answered, refused, or its
// time is over.
//
// Below /BridgeAsk/<instance>, beside what SendingNode.h says: Asked, the number of the request that was asked last;
// Open, see OpenRequests.h; Number of the request of which was told last, Values with what the answer carries, each
// below the path that it has at the other end, and Reason of a refusal; Told and Taken, the counts of what was told and
// of "next"; Refused/N<number>, the reasons of those that were not told yet; Late, how many answers came when nobody
// waited for them any more, and LateNumber, the request of the last one; Answers, see ReceivingEnd.h.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/OpenRequests.h"
#include "nodes/bridge/ReceivingEnd.h"
#include "nodes/bridge/SendingEnd.h"
#include "nodes/bridge/SendingNode.h"

namespace OrvWorkFlow::Nodes {

class BridgeAsk final : public SendingNode {
 public:
  static constexpr char kTypeName[] = "BridgeAsk";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  BridgeAsk() : SendingNode(kTypeName, kDescription, kRules) {}

 private:
  bool OnSignal(std::string_view signal) override;
  Outcome Talk() override;
  std::size_t CountOpen() const override;

  void Ask();
  bool MayTell() const;
  bool TellNext(Bridge::ReceivingEnd& answers, std::uint64_t released);
  void TakeAnswer(Bridge::ReceivingEnd& answers, const Bridge::Data& data);
  void Tell(std::uint64_t number, const char* outcome, const std::string& reason);
  void DropLate(Bridge::ReceivingEnd& answers, const Bridge::Id& sender, std::uint64_t number);
  bool TellRefused();
  void Apply(const Bridge::SendingEnd& end, const Bridge::Sender::Change& change);

  Bridge::OpenRequests open_;
  std::atomic<bool> gives_up_ = false;  // letters that nobody waits for are not waited with
  Bridge::Promise promise_;             // of the answers that are acknowledged
};

}  // namespace OrvWorkFlow::Nodes
