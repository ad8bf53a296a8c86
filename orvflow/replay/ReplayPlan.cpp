#include "orvflow/replay/ReplayPlan.h"

namespace OrvWorkFlow::Program {

using Journal::Event;
using Journal::Kind;

bool IsFiring(Kind kind) {
  return kind == Kind::SignalQueued || kind == Kind::SignalIgnored || kind == Kind::MappingNotRead ||
         kind == Kind::SignalLost;
}

Firing FiringOf(const Event& event) {
  const bool is_mapping = event.kind == Kind::MappingNotRead;
  return {event.kind, *event.route, is_mapping ? event.path : "", is_mapping ? event.text : ""};
}

void ReplayPlan::Begin(const Event& event) {
  run_ = runs_;
  flow_ = event.path;
  name_ = event.name;
  was_continued_ = event.is_marked;
  has_dictionary_ = false;
  last_ended_ = 0;
  at_work_.clear();
  outside_.clear();
  claims_.clear();
  late_.clear();
}

void ReplayPlan::Take(const Event& event) {
  ++entries_;
  if (event.kind == Kind::RunBegun) ++runs_;
  if (wanted_run_ != 0 && runs_ != wanted_run_) return;
  if (event.kind == Kind::RunBegun) Begin(event);
  if (event.kind == Kind::Snapshot) has_dictionary_ = true;
  if (event.kind == Kind::DeliveryBegun) at_work_.insert(event.number);
  if (event.kind == Kind::DeliveryEnded) {
    at_work_.erase(event.number);
    last_ended_ = event.number;
  }
  if (event.kind == Kind::NodeDescribed) {
    claims_[{event.type, event.instance}] = {event.describes_itself, event.state_in_dictionary, event.acts_outside,
                                             event.says_continuation};
    if (event.says_continuation) outside_.insert({event.type, event.instance});
  }
  if (!IsFiring(event.kind) || event.route == nullptr) return;
  const bool is_restored = event.kind == Kind::SignalQueued && event.is_marked;
  if (event.cause != 0) {
    if (!at_work_.contains(event.cause)) late_[event.cause].push_back(FiringOf(event));
  } else if (!is_restored && !event.route->sender_type.empty()) {
    outside_.insert({event.route->sender_type, event.route->sender_instance});
  }
}

const NodeClaims* ReplayPlan::ClaimsOf(const Node& node) const {
  const auto found = claims_.find(node);
  return found == claims_.end() ? nullptr : &found->second;
}

const std::vector<Firing>& ReplayPlan::ToldLateOf(std::uint64_t delivery) const {
  static const std::vector<Firing> none;
  const auto found = late_.find(delivery);
  return found == late_.end() ? none : found->second;
}

}  // namespace OrvWorkFlow::Program
