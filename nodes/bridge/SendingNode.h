// What the nodes with an outbox of their own have in common: a thread that sends as long as there is something to see
// to, tries settings again, and waits while another run has the right to send.
//
// Below /<type>/<instance>: Id, Epoch, Receiver, Sent, and what Outbox.h says; FullAt and DrainedAt, the numbers at
// which it was full and is not any more; Halted, why nothing is sent any more; Connection, why nothing can be sent now.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "OrvWorkFlow/sdk/WorkerNode.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes {

// Its node has the outputs full, drained and halted, the parameters MostEntries and MostBytes, and those of
// BridgeSettings.h.
class SendingNode : public Sdk::WorkerNode {
 protected:
  using WorkerNode::WorkerNode;

  // Delivery: first, and last.
  void BeginDelivery();
  void StartWork();
  // Delivery.
  void Rebind();
  // Delivery: throws std::runtime_error for a bridge that is halted, and settings that can be seen to be wrong.
  void ExpectSendable() const;
  // Delivery: puts it into the outbox, and fires "full" when that was the last one.
  void Put(const std::string& letter);
  // Whether so many bytes more do not fit, and how full it is.
  std::string IsFullNow(std::size_t added) const;

  // What is left to see to: with none of it the thread ends.
  virtual std::size_t CountOpen() const { return outbox_.Count(); }
  // The thread: until nothing is left (Done, after EndWork), or MayTalk is false (Stopped).
  virtual Outcome Talk() = 0;
  // The thread: it is about to end.
  virtual void BeforeEnd() {}

  // The thread: false when there is something to see to again.
  bool EndWork();
  bool MayTalk();
  bool TakesOver() { return rebinds_.exchange(false); }
  bool IsDelivered() const;
  std::unique_ptr<Bridge::Transport> OpenTransport(const Bridge::Id& id) const;
  void NoteConnection(const std::string& problem);
  void TellDrained();
  // "" for nothing.
  void Halt(const std::string& reason);

  static constexpr char kHalted[] = "Halted";
  static constexpr char kNobody[] = "no receiver answers";
  // Milliseconds; so that a connection is not made for each signal.
  static constexpr std::int64_t kLinger = 300;

  Bridge::Outbox outbox_;

 private:
  Outcome Work() final;
  bool WaitHalted();

  bool has_said_ = false;  // of deliveries: that it awaits the record itself
  std::mutex work_mutex_;  // Nothing but what counts is locked inside.
  bool works_ = false;     // a thread sees to what is in the outbox
  std::atomic<bool> rebinds_ = false;
};

}  // namespace OrvWorkFlow::Nodes
