// How the deliveries of a run are called, and those of the run before in which the process died.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/host/RunObserver.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Host {

// A delivery that was begun and has not ended, of any run.
struct DiedDelivery {
  std::string run;
  std::uint64_t number = 0;   // there
  std::uint32_t attempt = 1;  // the next one
};
// By the numbers that their signals have in the queue of this run.
using DiedDeliveries = std::map<std::uint64_t, DiedDelivery>;

// Below the path "First", the number of the signal that stands first in the saved queue, and an entry for each number:
// "RUN NUMBER ATTEMPT".
inline constexpr char kDiedDeliveries[] = "/Orvflow/Repeated";
struct KeptDeliveries {
  std::uint64_t first = 1;
  DiedDeliveries deliveries;
};
// Those that cannot be read are left out. What is there and cannot be listed throws std::bad_alloc.
KeptDeliveries ReadDiedDeliveries(IDictionary& dictionary);
// False when the dictionary refuses.
bool WriteDiedDeliveries(IDictionary& dictionary, const KeptDeliveries& kept);

// Says the run's own name and number for each delivery but those that are kept in the state. A signal of the queue
// that was being delivered when the process died has its key from then.
class DeliveryKeys final : public RunObserver {
 public:
  // A name that no other run has.
  DeliveryKeys();

  const std::string& run() const { return run_; }

  // The state is loaded, and nothing of it has been delivered: the signals of the queue that it restored have got their
  // numbers. False when the dictionary refuses.
  bool Take(IDictionary& dictionary);
  // Nothing is being delivered, and the dictionary is about to be saved. False when it refuses.
  bool Write(IDictionary& dictionary);

  void SignalQueued(const QueuedSignal& signal) override;
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override;
  bool NameDelivery(std::uint64_t number, DeliveryKey& key) override;

 private:
  const std::string run_;
  std::atomic<std::uint64_t> first_restored_ = 0;
  std::atomic<std::uint64_t> last_ended_ = 0;  // of the queue, whose signals end in their order
  std::atomic<bool> has_died_ = false;         // Most runs have none, and lock nothing.
  mutable Base::Mutex mutex_;                  // A leaf.
  DiedDeliveries died_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Host
