// The sending end of a bridge: what it is told to send stands in the workflow's dictionary until the workflow at the
// other end has got it.
//
// Below /BridgeOut/<instance>: Id, Epoch, Receiver, Sent, and what Outbox.h says; FullAt and DrainedAt, the numbers at
// which it was full and is not any more; Dead/N<number>, what the other end has refused, with the Reason, and
// DeadNumber and DeadReason of the last one, and DeadTold, up to which one "parked" has told; Halted, why nothing is
// sent any more; Connection, why nothing can be sent now.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "OrvWorkFlow/sdk/WorkerNode.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes {

class BridgeOut final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "BridgeOut";
  static const NodeDescription kDescription;
  BridgeOut() : WorkerNode(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;

  void Send();
  void TellParked();
  void AskForParked();
  void StartWork();
  bool EndWork();
  Outcome Talk(Bridge::Transport& transport);
  void SpeakUp(Bridge::Sender& sender, Bridge::Transport& transport);
  void Listen(Bridge::Sender& sender, Bridge::Transport& transport, bool is_idle);
  void Apply(const Bridge::Sender& sender, const Bridge::Sender::Change& change);
  void TellDrained();
  Bridge::Sender MakeSender();
  bool WaitHalted();
  void NoteConnection(const std::string& problem);
  std::string IsFullNow(std::size_t added) const;

  Bridge::Outbox outbox_;
  std::mutex work_mutex_;  // A leaf.
  bool works_ = false;     // a thread sees to what is in the outbox
  std::atomic<bool> rebinds_ = false;
  std::int64_t asked_ = 0;  // of the thread: the dead letter up to which "parked" is on its way
};

}  // namespace OrvWorkFlow::Nodes
