// Where a run stands after what its record tells: what waits, what is being done, what was begun and does not count.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "journal/RecordReader.h"

namespace OrvWorkFlow::Journal {

// Of the run in the record that was begun last. Owns all that it tells.
class RunStanding {
 public:
  struct Signal {
    std::uint64_t within = 0;  // the delivery that it counts with; 0 for none
    Route route;

    template <class Self, class Archive>
    static void PassMembers(Self& self, Archive& archive) {
      archive(self.within, self.route);
    }
  };
  struct Node {
    std::string type;
    std::string instance;
    auto operator<=>(const Node&) const = default;

    template <class Self, class Archive>
    static void PassMembers(Self& self, Archive& archive) {
      archive(self.type, self.instance);
    }
  };
  struct Absorbed {
    Unit unit;
    std::string name;
    std::string path;

    template <class Self, class Archive>
    static void PassMembers(Self& self, Archive& archive) {
      archive(self.unit, self.name, self.path);
    }
  };

  // In the order of the record.
  void Take(const Event& event);

  unsigned run() const { return run_; }  // of the record, the first is 1; 0 before any
  const std::string& name() const { return name_; }
  const std::string& before() const { return before_; }
  const std::string& flow() const { return flow_; }
  bool has_snapshot() const { return has_snapshot_; }
  bool has_ended() const { return has_ended_; }
  // The changes of the dictionary are not all known.
  bool has_lost_changes() const { return has_lost_changes_; }
  bool was_continued() const { return was_continued_; }
  bool was_saved() const { return was_saved_; }
  // Signals of the queue whose delivery has ended.
  std::uint64_t delivered() const { return delivered_; }
  // By their numbers: signals that were queued or fired and not delivered, and deliveries that have not ended.
  const std::map<std::uint64_t, Signal>& waiting() const { return waiting_; }
  const std::map<std::uint64_t, Signal>& begun() const { return begun_; }
  // The signals with which nodes that work outside of their signals would go on.
  const std::map<Node, std::string>& continuations() const { return continuations_; }
  // The delivery that was begun last and has not ended; null for none.
  const Route* unfinished() const;
  // Nodes that were made and keep more than the dictionary has.
  const std::vector<Node>& private_nodes() const { return private_nodes_; }

  // Whether what belongs to the unit counts: it has ended, or is none.
  bool Counts(const Unit& unit) const;
  // The signals that are still to be delivered, in their order: first those whose delivery was begun.
  std::vector<Route> MakeQueue() const;
  // The same by the numbers that they had. Views of this.
  std::map<std::uint64_t, const Route*> NumberedQueue() const;
  // How work goes on that is done past the queue: reboot signals that were not delivered, then nodes that were at work.
  std::vector<Route> MakeRebootSignals() const;
  // Reboot signals that were fired: they wait no longer.
  const std::vector<Route>& fired_reboot_signals() const { return fired_; }
  // The workflow's start signal may be among these, which were queued without a sender and not by a load.
  const std::vector<Route>& started() const { return started_; }
  std::vector<Absorbed> absorbed() const;
  // Failures that count, in the form in which an observer is told of them; `tell_time` is told before each when it
  // happened, in nanoseconds since 1970.
  void TellFailures(IRunObserver& observer, const std::function<void(std::uint64_t)>& tell_time) const;

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.run_, self.name_, self.before_, self.flow_, self.began_, self.has_snapshot_, self.has_ended_,
            self.has_lost_changes_, self.private_nodes_, self.waiting_, self.begun_, self.was_continued_,
            self.was_saved_, self.delivered_, self.held_, self.held_during_, self.firing_, self.continuations_,
            self.fired_, self.started_, self.absorbed_, self.failures_);
  }

 private:
  void TakeBeginning(const Event& event);
  void TakeQueued(const Event& event);
  void TakeBegun(const Event& event);
  void TakeEnded(const Event& event);
  void TakeUnitEnd(const Event& event);
  void EndHeld(const Event& event);
  void NoteContinuation(const Node& node, const Event& event);
  bool IsToCount(const Signal& signal) const;

  unsigned run_ = 0;
  std::string name_;
  std::string before_;
  std::string flow_;
  std::uint64_t began_ = 0;  // nanoseconds since 1970
  bool has_snapshot_ = false;
  bool has_ended_ = false;
  bool has_lost_changes_ = false;
  std::vector<Node> private_nodes_;
  std::map<std::uint64_t, Signal> waiting_;
  std::map<std::uint64_t, Signal> begun_;
  bool was_continued_ = false;
  bool was_saved_ = false;
  std::uint64_t delivered_ = 0;
  std::set<std::uint64_t> held_;  // changes that are held
  // Those that are held no longer, by the delivery that they count with.
  std::map<std::uint64_t, std::vector<std::uint64_t>> held_during_;
  std::vector<std::uint64_t> firing_;  // signals of a firing of which more follow
  std::map<Node, std::string> continuations_;
  std::vector<Route> fired_;
  std::vector<Route> started_;
  std::vector<Absorbed> absorbed_;
  struct Failure {
    Event event;
    Route route;

    template <class Self, class Archive>
    static void PassMembers(Self& self, Archive& archive) {
      auto& event = self.event;
      archive(event.kind, event.time, event.number, event.cause, event.count, event.is_marked, event.outcome,
              event.loss, event.path, event.text, self.route);
    }
  };
  std::vector<Failure> failures_;
};

}  // namespace OrvWorkFlow::Journal
