// The receiving end of a bridge with what is recorded of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeReceiver.h"

namespace OrvWorkFlow::Nodes::Bridge {

// Below `record`: Epoch, and Senders/S<id>, what is known of each: Epoch, Mark, Highest, Refused/N<number> with the
// reason. The thread of the node's. `promise` is of what is acknowledged, and outlives it.
class ReceivingEnd {
 public:
  // With a higher epoch than before.
  ReceivingEnd(const Sdk::NodeRecord& record, const Id& id, std::size_t most_senders, Promise& promise);

  // Hello and Data; others change nothing.
  void Hear(Frame& frame);
  // What is to be delivered next, or null: until Deliver or Refuse.
  const Data* Next() { return receiver_.Next(); }
  void Deliver(const Id& sender);
  void Refuse(const Id& sender, const std::string& reason);
  // Of what is recorded; sent by `send`.
  void Answer(const std::function<void(const Ack&)>& send);
  bool IsSettled() const { return receiver_.IsSettled(); }
  // For an end that only waits for that: what was answered is answered again, a few times a second.
  void Remind();

 private:
  void Know();
  void WriteStanding(const Id& sender);

  Sdk::NodeRecord record_;
  Promise& promise_;
  Receiver receiver_;
  std::int64_t reminded_at_ = Now();
};

}  // namespace OrvWorkFlow::Nodes::Bridge
