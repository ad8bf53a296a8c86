// What a BridgeServe has to send to those who asked: an outbox for each of them.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/bridge/BridgeFrames.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Outbox.h"
#include "nodes/bridge/SendingEnd.h"

namespace OrvWorkFlow::Nodes::Bridge {

// Below Askers/S<id> of the node's folder, what a bridge with one receiver has: Epoch, Receiver (the asker), Sent, what
// Outbox.h says, and Halted, why nothing is sent to this one any more.
class AnswerBoxes {
 public:
  // Delivery: reads what is recorded, the first time that it is called; what earlier deliveries have added is recorded.
  void BeginDelivery(const Sdk::NodeRecord& record);
  // Delivery: throws std::runtime_error when the dictionary refuses.
  void Add(const Sdk::NodeRecord& record, const Id& asker, const std::string& letter);

  // Any thread.
  using Boxes = std::map<Id, std::shared_ptr<Outbox>>;
  Boxes All() const;
  // Letters of all.
  std::size_t Count() const;

  static Sdk::NodeRecord RecordOf(const Sdk::NodeRecord& record, const Id& asker);

 private:
  mutable std::mutex mutex_;  // A leaf.
  bool is_loaded_ = false;
  Boxes boxes_;
};

// The thread's part: sends what is in the boxes. All that it is given outlives it.
class AnswerSender {
 public:
  struct Place {
    Sdk::NodeRecord record;
    Id id;  // of the node
    std::string bridge;
  };
  // `rebinds`: those that are halted go on.
  AnswerSender(Place place, AnswerBoxes& boxes, Transport& transport, bool rebinds);

  void SpeakUp(const std::function<bool()>& is_delivered);
  // Of an answer to one of the askers. `park` is called for a letter that it cannot read, and `halt` when nothing more
  // is sent to it.
  struct Events {
    std::function<void(Outbox&, const Sdk::NodeRecord&, const Refusal&)> park;
    std::function<void(const Sdk::NodeRecord&, const std::string&)> halt;
  };
  void Hear(const Ack& ack, const Events& events);
  // Nobody whose answers wait has said anything for a while.
  bool IsAlone() const;

 private:
  struct One {
    Sender sender;
    Farewell farewell;
  };
  One* Find(const Id& asker, bool is_needed);

  const Place place_;
  AnswerBoxes& boxes_;
  Transport& transport_;
  const bool rebinds_;
  std::map<Id, One> ones_;
};

}  // namespace OrvWorkFlow::Nodes::Bridge
