// A run whose record is on the disk before anything is done outside.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "OrvWorkFlow/host/RunObserver.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "journal/RecordSync.h"
#include "journal/RunRecord.h"

namespace OrvWorkFlow::Journal {

// Observes the run behind the records: a delivery to a node that acts outside waits until the disk has its begin, and
// all before it. The mediator's lock is held for that time, a few milliseconds; who records does not need it. A disk
// that fails ends the run as a stop does; one that is full holds it until there is room.
class DurableDeliveries final : public Host::RunObserver {
 public:
  // Both outlive it; `flow` is how messages call the flow. What there is to say is told as the host does now.
  DurableDeliveries(Host::WorkflowHost& host, const std::string& flow);
  // Before the host. Nothing is delivered any more.
  ~DurableDeliveries() = default;

  // The records are being written, the state's first. Returns when the disk has what they say. Throws HostError when it
  // does not keep it. Until End.
  void Begin(std::vector<RunRecord*> records);
  // The disk has all that was recorded. False when it does not keep it, and after End. Any thread.
  bool Await();
  void End();

  // Deliveries to that node do not wait: it waits itself. Until another object of it is made. Any thread.
  void Exempt(const char* type, const char* instance);

  // Deliveries that the disk knows to have ended. Any thread.
  std::uint64_t deliveries() const;

  // The run stops for it.
  bool has_failed() const { return has_failed_; }

  void DeliveryBegun(const Delivery& delivery) override;
  void NodeDescribed(const NodeFacts& node) override;

 private:
  void HoldWhileFull();
  bool IsStopping() const;
  void Tell(const std::string& line) const {
    if (tell_) tell_(line);
  }

  Host::WorkflowHost& host_;
  const std::string& flow_;
  const Host::LineReceiver tell_;
  std::atomic<bool> has_failed_ = false;
  std::atomic<bool> has_outside_ = false;  // Without such a node nothing is looked up.
  std::mutex mutex_;                       // A leaf; guards what follows.
  std::unordered_set<std::string> outside_;
  std::string name_;                      // The key that is looked up; kept for its memory.
  mutable std::shared_mutex sync_mutex_;  // Guards whether there is a sync; whoever uses it holds it shared.
  std::optional<RecordSync> sync_;
  std::uint64_t last_deliveries_ = 0;  // when it ended
};

}  // namespace OrvWorkFlow::Journal
