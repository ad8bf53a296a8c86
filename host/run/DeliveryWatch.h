// What a run delivers at the moment, and what it did not deliver.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/IRunObserver.h"
#include "base/lock/Mutex.h"
#include "host/run/Bell.h"
#include "host/state/AttemptRecord.h"
#include "host/state/SignalRecords.h"

namespace OrvWorkFlow::Host {

// Why a signal failed that the host application did not take.
inline constexpr char kNotTaken[] = "the program could not take it";

// The signal is one that is set aside.
void DescribeDeaths(SignalRecord& signal);

// Any thread asks. Rings the bell when nothing is left of what was queued, and when something was set aside.
class DeliveryWatch final : public IRunObserver {
 public:
  explicit DeliveryWatch(Bell& bell) : bell_(bell) {}

  // Names each delivery there from now on, for the case that the process dies in it, and sets aside the one that is
  // suspect there. Not owned; null for none. Before the workflow is loaded.
  void UseAttempts(AttemptRecord* attempts);

  // The run is to end: should the process die now, it is not the fault of what is being delivered.
  void Forgive();

  // The node of the delivery that has begun last, of those that have not ended, as "Type Instance"; "" for none.
  std::string NodeAtWork() const;

  // Whether signals wait or are being delivered.
  bool HasWork() const;

  // How many deliveries have ended; nothing while none is at work. The next end rings the bell.
  std::optional<std::uint64_t> WatchForEnd();

  // Append the signals whose delivery has failed or that were lost since the last call, and those that were set aside.
  // Without memory they throw, and the next call has them.
  void MoveFailedTo(SignalRecords& records);
  void MoveSetAsideTo(SignalRecords& records);
  bool HasSetAside() const;
  // Whether signals failed or were lost that are not known, for lack of memory: what they were to do is missing, and
  // nobody can say what it is.
  bool HasForgotten() const { return has_forgotten_; }
  // How many signals failed or were lost, known or not.
  std::uint64_t CountFailures() const { return failures_; }

  // What is told from now on happened then, and not just now. Before the watch is known to other threads.
  void SetTime(std::chrono::system_clock::time_point time) { told_time_ = time; }

  // The state was saved.
  void Saved();

  // For the host application, on the thread that hands a signal to it: whether it is set aside.
  bool Refuses();

  void SignalQueued(const QueuedSignal& signal) override;
  void SignalsDropped(std::uint64_t first, std::uint64_t count) override;
  void SignalIgnored(const IgnoredSignal& /*signal*/) override {}
  void MappingNotRead(const UnreadMapping& mapping) override;
  void SignalLost(const LostSignal& signal) override;
  void DeliveryBegun(const Delivery& delivery) override;
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override;
  void RebootSignalFired(std::uint64_t number, const Receiver& receiver) override;
  void NodeMade(const char* /*type*/, const char* /*instance*/) override {}

 private:
  struct Numbered {
    std::uint64_t number = 0;
    SignalRecord signal;
  };
  struct Begun {
    std::uint64_t number = 0;
    DeliveryName name;
  };

  std::string TimeText() const;
  bool IsSuspect(const Receiver& receiver) const;
  bool Meets(Numbered met) ORV_REQUIRES(mutex_);
  template <class Describe>
  void KeepFailure(const Sender& sender, const Receiver& receiver, std::uint32_t reached, const Describe& describe)
      ORV_REQUIRES(mutex_);
  void ForgetBegun(std::uint64_t number) ORV_REQUIRES(mutex_);

  Bell& bell_;
  std::optional<std::chrono::system_clock::time_point> told_time_;
  mutable Base::Mutex mutex_;  // Guards what follows; a leaf.
  AttemptRecord* attempts_ ORV_GUARDED_BY(mutex_) = nullptr;
  std::int64_t queued_ ORV_GUARDED_BY(mutex_) = 0;  // and not ended
  std::uint64_t ended_ ORV_GUARDED_BY(mutex_) = 0;
  bool rings_at_end_ ORV_GUARDED_BY(mutex_) = false;
  std::vector<Begun> begun_
      ORV_GUARDED_BY(mutex_);  // The outermost first: a node may deliver others while it is at work.
  SignalRecords failed_ ORV_GUARDED_BY(mutex_);
  SignalRecords set_aside_ ORV_GUARDED_BY(mutex_);
  std::atomic<bool> has_forgotten_ = false;
  std::atomic<std::uint64_t> failures_ = 0;

  // While there is a suspect: those with its name that are on their way, and how many were handed over.
  std::optional<AttemptRecord::Suspect> suspect_;
  std::deque<Numbered> suspects_;
  std::optional<Numbered> reboot_;  // about to be handed over by `reboot_thread_`
  std::thread::id reboot_thread_;
  std::uint64_t next_ = 1;  // the number in the queue that is handed over next
  std::uint32_t met_ = 0;
  std::uint64_t refused_ = 0;
};

}  // namespace OrvWorkFlow::Host
