// The sending end of a bridge: what it is told to send stands in the workflow's dictionary until the workflow at the
// other end has got it.
//
// Below /BridgeOut/<instance>: Id, Epoch, Receiver, Sent, and what Outbox.h says; FullAt and DrainedAt, the numbers at
// which it was full and is not any more; Dead/N<number>, what the other end has refused, with the Reason, and
// DeadNumber and DeadReason of the last one, DeadCount, and DeadTold, of how many "parked" has told; Halted, why
// nothing is sent any more; Connection, why nothing can be sent now.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "OrvWorkFlow/sdk/WorkerNode.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/BridgeShare.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes {

class BridgeOut final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "BridgeOut";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  BridgeOut() : WorkerNode(kTypeName, kDescription, kRules) {}

 private:
  static constexpr char kReceivers[] = "Receivers";
  static constexpr char kHalted[] = "Halted";
  static constexpr char kDead[] = "Dead";
  static constexpr char kDeadCount[] = "DeadCount";
  static constexpr char kDeadReason[] = "DeadReason";
  static constexpr char kDeadTold[] = "DeadTold";

  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;

  void Send();
  void TellParked();
  void AskForParked();
  void StartWork();
  bool EndWork();
  // To a receiver: whom, by what, and which share of the work it has; none when it has all.
  struct Way {
    Bridge::Sender& sender;
    Bridge::Transport& transport;
    std::string address;
    Bridge::Share* share = nullptr;

    std::string PathOf(const char* name) const;
    std::uint64_t InOutbox(std::uint64_t number) const;
    std::size_t BytesBefore(const Bridge::Outbox& outbox, std::uint64_t number) const;
  };
  Outcome TalkToOne();
  Outcome TalkToMany();
  std::string TalkOnce(const std::vector<Way>& ways, bool is_idle);
  bool MayTalk();
  std::unique_ptr<Bridge::Transport> OpenTransport(const Bridge::Id& id) const;
  bool SayFarewell(const std::vector<Way>& ways);
  void SpeakUp(const Way& way);
  void Listen(const Way& way, std::chrono::milliseconds time);
  void Apply(const Way& way, const Bridge::Sender::Change& change);
  void Park(const Way& way, const Bridge::Refusal& refusal);
  void TellDrained();
  bool WaitHalted();
  void NoteConnection(const std::string& problem);
  std::string IsFullNow(std::size_t added) const;

  bool has_said_ = false;  // of deliveries: that it awaits the record itself
  Bridge::Outbox outbox_;
  std::mutex work_mutex_;  // A leaf.
  bool works_ = false;     // a thread sees to what is in the outbox
  std::atomic<bool> rebinds_ = false;
  std::int64_t asked_ = 0;  // of the thread: of how many dead letters "parked" will tell
};

}  // namespace OrvWorkFlow::Nodes
