// A recorded run, delivery by delivery, with the plug-ins of now: what each does is compared with the record.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "orvflow/replay/DeliveryGuard.h"
#include "orvflow/replay/ReplayHost.h"
#include "orvflow/replay/ReplayPlan.h"

namespace OrvWorkFlow::Program {

struct ReplayOptions {
  bool acts = false;                       // also nodes that act outside, or do not say whether they do
  std::optional<std::uint64_t> last;       // the delivery with which it ends
  std::chrono::milliseconds limit{60000};  // for a delivery, beyond twice the time that it took then
};

// Why the record is taken as it is.
enum class Untried {
  ActsOutside,      // the node does, as it says
  SaysNothing,      // the node does not describe itself
  OwnThread,        // the node works on threads of its own
  StateUnknown,     // the node keeps state of its own, which is not known
  Overlapped,       // another delivery was at work meanwhile
  ChangedByOthers,  // it differs, and others changed the dictionary meanwhile
  NotDelivered,     // it did not get to the node, or memory ran out
  NotEnded,         // the record ends in it
  ChangesMissing,   // the record lacks changes before it
};

struct ReplayResult {
  struct Untaken {
    std::size_t deliveries = 0;
    std::set<std::string> types;
  };
  struct Difference {
    std::uint64_t number = 0;
    std::uint64_t time = 0;  // nanoseconds of the run
    Journal::Route route;
    Deeds recorded;
    Deeds replayed;
  };

  std::size_t replayed = 0;  // the one that differs is among them
  std::map<Untried, Untaken> untried;
  std::optional<Difference> difference;
  bool has_reached_last = false;
};

// Of the record, from the begin of a delivery to its end.
struct ReplayWindow {
  std::uint64_t number = 0;
  std::uint64_t time = 0;
  Journal::Route route;
  std::set<std::uint64_t> others;  // at work meanwhile
  bool was_overlapped = false;
  bool has_foreign = false;         // changes
  std::vector<Journal::Event> all;  // changes, in their order
  Deeds recorded;
};

class Replay {
 public:
  // All outlive it. `shown_name` is how messages call the record.
  Replay(ReplayHost& host, const ReplayPlan& plan, const ReplayOptions& options, const std::string& shown_name);

  // In the order of the record, until it answers true: there is a difference, or the last delivery was reached. Throws
  // HostError.
  bool Take(const Journal::Event& event);
  // The record holds no more.
  void Finish();

  const ReplayResult& result() const { return result_; }

 private:
  void Load(const Journal::Event& event);
  void TakeChange(const Journal::Event& event);
  void TakeBegun(const Journal::Event& event);
  bool TakeEnded(const Journal::Event& event);
  void Close(const Journal::Event& event);
  bool DeliverAgain(std::uint64_t duration);
  std::optional<Untried> Objection(const NodeClaims& claims) const;
  std::optional<Untried> ObjectionBefore(IRunObserver::Outcome outcome) const;
  void Leave(Untried why);
  void LeaveOne(Untried why, const std::string& type);
  ReplayPlan::Node Receiver() const { return {window_->route.receiver_type, window_->route.receiver_instance}; }
  void Compare(Deeds replayed);
  [[noreturn]] void ThrowUnfit(const Journal::Event& event) const;

  ReplayHost& host_;
  const ReplayPlan& plan_;
  const ReplayOptions& options_;
  const std::string& shown_name_;
  const Host::WorkflowHost::OwnedDictionary truth_;  // as the record has it
  DeliveryGuard guard_;
  unsigned runs_ = 0;
  bool is_loaded_ = false;
  bool lacks_changes_ = false;
  std::unordered_map<std::uint64_t, const Journal::Route*> routes_;  // of what waits
  std::optional<ReplayWindow> window_;
  std::set<ReplayPlan::Node> strayed_;  // their own state is not that of the run any more
  ReplayResult result_;
};

}  // namespace OrvWorkFlow::Program
