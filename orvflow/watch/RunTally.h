// What happened in a run and what stands in its queue, kept in memory as the library tells it.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IRunObserver.h"
#include "base/lock/Mutex.h"
#include "orvflow/watch/DeliveryLog.h"
#include "orvflow/watch/NodeNames.h"

namespace OrvWorkFlow::Program {

// Any thread. Costs a queued signal some 20 bytes while it waits.
class RunTally final : public IRunObserver {
 public:
  using Clock = std::chrono::steady_clock;

  struct Node {
    std::string type;
    std::string instance;
    std::uint64_t delivered = 0;  // deliveries that have ended
    std::uint64_t failed = 0;     // of these
    std::uint64_t waiting = 0;    // signals for it in the queue
    bool made = false;
    bool busy = false;  // at work outside of a signal; not known here
    bool operator==(const Node&) const = default;
  };
  // A delivery that runs now.
  struct Work {
    std::string type;
    std::string instance;
    std::string signal;
    std::uint64_t number = 0;
    Clock::duration time{};  // so far
  };
  struct Waiting {
    std::uint64_t number = 0;
    std::string sender;    // "TYPE INSTANCE.SIGNAL"; "" for a start signal
    std::string receiver;  // the same
  };
  struct Numbers {
    std::uint64_t delivered = 0;
    std::uint64_t waiting = 0;
    std::uint64_t failures = 0;  // deliveries that failed, mappings that were not read, signals that were lost
    std::uint64_t silent = 0;    // of these: such as no message box tells
  };
  // A delivery that has ended.
  struct Past {
    std::uint64_t place = 0;  // in the order of their ends: 1, 2, 3...
    std::uint64_t number = 0;
    std::string sender;    // "TYPE INSTANCE.SIGNAL"; "start" or "reboot" where there is none
    std::string receiver;  // the same
    Clock::time_point begin;
    Clock::duration time{};
    Outcome outcome = Outcome::Accepted;
    std::string text;  // of a failure
  };
  // An output signal that nothing took.
  struct Untaken {
    std::string type;
    std::string instance;
    std::string signal;
    std::uint64_t times = 0;
    bool is_declared = false;  // its key for mappings is there and holds none
  };
  // A failure that no message box tells.
  struct SilentFailure {
    std::string text;
    std::uint64_t times = 0;
  };

  // Where the record tells what happens. Called on the threads of the library, with its locks held: they only write to
  // memory, as a rule.
  struct Listener {
    // Whether lines of failures, or of all signals, are wanted.
    std::function<bool(bool is_failure)> wants_line;
    std::function<void(bool is_failure, const std::string& text)> line;
    // On the thread that delivers, before the message box of a delivery that threw, with what the exception says.
    std::function<void(const std::string& text)> reason;
  };

  explicit RunTally(Listener listener) : listener_(std::move(listener)) {}
  RunTally(const RunTally&) = delete;
  RunTally& operator=(const RunTally&) = delete;
  ~RunTally() = default;

  // The last deliveries are kept from now on.
  void KeepDeliveries();

  Numbers GetNumbers() const;
  // All deliveries that run now, the longest first.
  std::vector<Work> GetWork() const;
  std::vector<Node> GetNodes() const;
  // The first `most` entries of the queue.
  std::vector<Waiting> FirstWaiting(std::size_t most) const;
  std::vector<Untaken> GetUntaken() const;
  // All of them, in the order in which they first happened.
  std::vector<SilentFailure> GetSilentFailures() const;
  // Those that first happened since the last call.
  std::vector<std::string> TakeNewSilentFailures();
  // With KeepDeliveries, the oldest first; as many as DeliveryLog.h says. Of those behind a place the last `most`.
  std::vector<Past> DeliveriesAfter(std::uint64_t place, std::size_t most) const;
  std::vector<Past> DeliveriesOf(std::string_view type, std::string_view instance);
  std::vector<Past> FailedDeliveries() const;
  // Whether the node fired this output signal and something took it.
  bool WasTaken(std::string_view type, std::string_view instance, std::string_view signal);

  void SignalQueued(const QueuedSignal& signal) override;
  void SignalsDropped(std::uint64_t first, std::uint64_t count) override;
  void SignalIgnored(const IgnoredSignal& signal) override;
  void MappingNotRead(const UnreadMapping& mapping) override;
  void SignalLost(const LostSignal& signal) override;
  void DeliveryBegun(const Delivery& delivery) override;
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override;
  void RebootSignalFired(std::uint64_t number, const Receiver& receiver) override;
  void NodeMade(const char* type, const char* instance) override;

 private:
  struct Entry {
    NodeNames::End sender;
    NodeNames::End receiver;
    bool is_waiting = true;
  };
  struct Running {
    std::uint64_t number = 0;
    NodeNames::End sender;
    NodeNames::End receiver;
    Clock::time_point begin;
  };
  struct NodeCounts {
    std::uint64_t delivered = 0;
    std::uint64_t failed = 0;
    std::uint64_t waiting = 0;
    bool made = false;
  };

  NodeCounts& CountsOf(std::uint32_t node) ORV_REQUIRES(mutex_);
  void StopWaiting(std::uint64_t number) ORV_REQUIRES(mutex_);
  Work Describe(const Running& running, Clock::time_point now) const ORV_REQUIRES(mutex_);
  // Null for a number that is not there.
  Entry* EntryOf(std::uint64_t number) ORV_REQUIRES(mutex_);
  Clock::duration EndDelivery(const Delivery& delivery, Outcome outcome, const char* text);
  std::string NameOf(const NodeNames::End& end) const ORV_REQUIRES(mutex_);
  std::vector<Past> Describe(const std::vector<DeliveryLog::Past>& deliveries) const ORV_REQUIRES(mutex_);
  void CountUntold();
  void KeepSilentFailure(const std::string& text);

  const Listener listener_;

  mutable Base::Mutex mutex_;  // A leaf; guards what follows.
  NodeNames names_ ORV_GUARDED_BY(mutex_);
  std::deque<Entry> queue_
      ORV_GUARDED_BY(mutex_);  // that of `first_number_` first; those that do not wait any more go from its front
  std::uint64_t first_number_ ORV_GUARDED_BY(mutex_) = 0;
  std::vector<Running> running_ ORV_GUARDED_BY(mutex_);
  std::vector<NodeCounts> counts_ ORV_GUARDED_BY(mutex_);  // by the number of the node
  Numbers numbers_ ORV_GUARDED_BY(mutex_);
  std::map<NodeNames::End, Untaken> untaken_ ORV_GUARDED_BY(mutex_);
  std::set<NodeNames::End> taken_ ORV_GUARDED_BY(mutex_);
  std::vector<SilentFailure> failures_ ORV_GUARDED_BY(mutex_);
  std::size_t failures_taken_ = 0;
  std::unique_ptr<DeliveryLog> log_ ORV_GUARDED_BY(mutex_);  // Null where none is kept.
};

// "TYPE INSTANCE.SIGNAL".
std::string NameOfEnd(std::string_view type, std::string_view instance, std::string_view signal);

}  // namespace OrvWorkFlow::Program
