// What has to be known of a recorded run before its deliveries are done again.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "journal/RecordReader.h"
#include "journal/RunStanding.h"
#include "orvflow/replay/Deeds.h"

namespace OrvWorkFlow::Program {

// What a node says of itself.
struct NodeClaims {
  bool describes_itself = false;
  bool state_in_dictionary = false;
  bool acts_outside = false;
  bool says_continuation = false;
};

// What an event tells of a signal that was fired; not of other kinds.
Firing FiringOf(const Journal::Event& event);
bool IsFiring(Journal::Kind kind);

class ReplayPlan {
 public:
  using Node = Journal::RunStanding::Node;

  // Of the run with that number, or with 0 of the last one.
  explicit ReplayPlan(unsigned wanted_run) : wanted_run_(wanted_run) {}
  // In the order of the record.
  void Take(const Journal::Event& event);

  // 0 when there is no such run.
  unsigned run() const { return run_; }
  // Entries of the record, of all runs.
  std::uint64_t entries() const { return entries_; }
  // The workflow's file, as the run had it.
  const std::string& flow() const { return flow_; }
  // Its name; "" when the record does not say.
  const std::string& name() const { return name_; }
  bool was_continued() const { return was_continued_; }
  bool has_dictionary() const { return has_dictionary_; }
  // The number of the delivery that ended last; 0 for none.
  std::uint64_t last_ended() const { return last_ended_; }
  // Whether it fired, or says that it works, on threads of its own.
  bool WorksOutside(const Node& node) const { return outside_.contains(node); }
  // What the node said then; null when it is not told.
  const NodeClaims* ClaimsOf(const Node& node) const;
  // What a delivery fired and was told after its end only, because the queue was not to be had.
  const std::vector<Firing>& ToldLateOf(std::uint64_t delivery) const;

 private:
  void Begin(const Journal::Event& event);

  const unsigned wanted_run_;
  unsigned runs_ = 0;
  unsigned run_ = 0;
  std::uint64_t entries_ = 0;
  std::string flow_;
  std::string name_;
  bool was_continued_ = false;
  bool has_dictionary_ = false;
  std::uint64_t last_ended_ = 0;
  std::set<std::uint64_t> at_work_;
  std::set<Node> outside_;
  std::map<Node, NodeClaims> claims_;
  std::map<std::uint64_t, std::vector<Firing>> late_;
};

}  // namespace OrvWorkFlow::Program
