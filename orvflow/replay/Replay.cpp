#include "orvflow/replay/Replay.h"

#include <algorithm>
#include <utility>

#include "OrvWorkFlow/host/HostError.h"
#include "journal/ChangeReplay.h"
#include "orvflow/history/RouteOutput.h"

namespace OrvWorkFlow::Program {

using Journal::Event;
using Journal::Kind;
using Journal::Unit;
using Outcome = IRunObserver::Outcome;

Replay::Replay(ReplayHost& host, const ReplayPlan& plan, const ReplayOptions& options, const std::string& shown_name)
    : host_(host), plan_(plan), options_(options), shown_name_(shown_name), truth_(host.MakeDictionary()) {}

bool Replay::Take(const Event& event) {
  if (event.kind == Kind::RunBegun) ++runs_;
  if (runs_ != plan_.run()) return false;
  switch (event.kind) {
    case Kind::Snapshot:
    case Kind::Change:
      TakeChange(event);
      break;
    case Kind::ChangesLost:
      lacks_changes_ = true;
      break;
    case Kind::RebootSignalFired:
      routes_[event.number] = event.route;
      break;
    case Kind::DeliveryBegun:
      TakeBegun(event);
      break;
    case Kind::DeliveryEnded:
      return TakeEnded(event);
    case Kind::SignalQueued:
      routes_[event.number] = event.route;
      [[fallthrough]];
    case Kind::SignalIgnored:
    case Kind::MappingNotRead:
    case Kind::SignalLost:
      if (window_ && event.cause == window_->number) window_->recorded.fired.push_back(FiringOf(event));
      break;
    default:
      break;
  }
  return false;
}

void Replay::ThrowUnfit(const Event& event) const {
  throw Host::HostError(Host::HostError::Kind::Damaged, shown_name_, event.path,
                        "the record of a change there does not fit what was before");
}

void Replay::TakeChange(const Event& event) {
  if (lacks_changes_ || (!is_loaded_ && event.kind == Kind::Change)) return;
  if (!is_loaded_) {
    Load(event);
  } else if (!window_) {
    if (!Journal::ApplyChange(*truth_, event) || !host_.Apply(event)) ThrowUnfit(event);
  } else {
    window_->all.push_back(event);
    if (event.unit.kind == Unit::Kind::Delivery && event.unit.number == window_->number) {
      window_->recorded.changes.push_back(event);
    } else {
      window_->has_foreign = true;
    }
  }
}

void Replay::Load(const Event& event) {
  if (!Journal::ApplyChange(*truth_, event)) ThrowUnfit(event);
  const std::chrono::milliseconds limit = std::max(options_.limit, ReplayOptions().limit);
  const DeliveryGuard::Call call(guard_, shown_name_ + ": while the plug-ins were loaded", limit);
  host_.Load(*truth_, plan_, shown_name_);
  is_loaded_ = true;
}

void Replay::TakeBegun(const Event& event) {
  const auto known = routes_.extract(event.number);
  const Journal::Route* const route = known ? known.mapped() : event.route;
  if (window_) {
    window_->others.insert(event.number);
    window_->was_overlapped = true;
    if (route != nullptr) {
      LeaveOne(Untried::Overlapped, route->receiver_type);
      strayed_.insert({route->receiver_type, route->receiver_instance});
    }
    return;
  }
  if (route == nullptr) return;
  window_.emplace();
  window_->number = event.number;
  window_->time = event.time;
  window_->route = *route;
}

bool Replay::TakeEnded(const Event& event) {
  if (window_ && event.number == window_->number) {
    Close(event);
  } else if (window_ && window_->others.erase(event.number) > 0) {
    // It was counted when it began.
  } else {
    const auto known = routes_.extract(event.number);
    const Journal::Route* const route = known ? known.mapped() : event.route;
    LeaveOne(Untried::NotDelivered, route == nullptr ? "" : route->receiver_type);
  }
  result_.has_reached_last = options_.last == event.number;
  return result_.has_reached_last || result_.difference;
}

void Replay::Finish() {
  if (!window_) return;
  Leave(Untried::NotEnded);
  window_.reset();
}

// What a node may not do again, by what it says of itself.
std::optional<Untried> Replay::Objection(const NodeClaims& claims) const {
  if (claims.says_continuation) return Untried::OwnThread;
  if (!options_.acts && claims.acts_outside) return Untried::ActsOutside;
  if (!options_.acts && !claims.describes_itself) return Untried::SaysNothing;
  const bool is_private = !claims.describes_itself || !claims.state_in_dictionary;
  const bool is_known = !plan_.was_continued() && !strayed_.contains(Receiver());
  if (is_private && !is_known) return Untried::StateUnknown;
  return std::nullopt;
}

std::optional<Untried> Replay::ObjectionBefore(Outcome outcome) const {
  if (!is_loaded_ || lacks_changes_) return Untried::ChangesMissing;
  if (outcome == Outcome::TypeNotLoaded || outcome == Outcome::HostRefused || outcome == Outcome::NoMemory) {
    return Untried::NotDelivered;
  }
  for (const Firing& fired : window_->recorded.fired) {
    if (fired.kind == Kind::SignalLost) return Untried::NotDelivered;
  }
  if (window_->was_overlapped) return Untried::Overlapped;
  if (plan_.WorksOutside(Receiver())) return Untried::OwnThread;
  const NodeClaims* const claims = plan_.ClaimsOf(Receiver());
  return claims == nullptr ? std::nullopt : Objection(*claims);
}

void Replay::LeaveOne(Untried why, const std::string& type) {
  ReplayResult::Untaken& untaken = result_.untried[why];
  ++untaken.deliveries;
  if (!type.empty()) untaken.types.insert(type);
}

void Replay::Leave(Untried why) {
  LeaveOne(why, window_->route.receiver_type);
  strayed_.insert(Receiver());
}

void Replay::Close(const Event& event) {
  const std::vector<Firing>& late = plan_.ToldLateOf(event.number);
  window_->recorded.fired.insert(window_->recorded.fired.end(), late.begin(), late.end());
  window_->recorded.outcome = event.outcome;
  window_->recorded.text = event.text;
  const std::optional<Untried> why = ObjectionBefore(event.outcome);
  const bool is_known = is_loaded_ && !lacks_changes_;
  bool is_like = false;
  if (why) {
    Leave(*why);
  } else {
    is_like = DeliverAgain(event.time - window_->time);
  }
  for (const Event& change : window_->all) {
    if (!is_known) break;
    if (!Journal::ApplyChange(*truth_, change) || (why && !host_.Apply(change))) ThrowUnfit(change);
  }
  if (is_known && !why && !is_like) host_.MakeLike(*truth_);
  window_.reset();
}

// Whether the dictionary is then as the record has it, too.
bool Replay::DeliverAgain(std::uint64_t duration) {
  const Journal::Route& route = window_->route;
  std::optional<Untried> objection;
  const auto may_run = [&](const NodeClaims& claims) {
    objection = Objection(claims);
    return !objection;
  };
  const std::string what = shown_name_ + ": delivery " + SignalNumberText(window_->number) + ": " +
                           route.receiver_type + " " + route.receiver_instance + ", with \"" + route.receiver_signal +
                           "\"";
  Deeds replayed;
  bool is_done = false;
  {
    const std::chrono::milliseconds twice(2 * duration / 1'000'000);
    const DeliveryGuard::Call call(guard_, what, options_.limit + twice);
    is_done = host_.Deliver(window_->number, route, may_run, *truth_, &replayed);
  }
  const bool is_like =
      is_done && !window_->has_foreign && !host_.IsDisturbed() && AreSameChanges(window_->recorded, replayed);
  if (is_done) {
    Compare(std::move(replayed));
  } else {
    Leave(*objection);
  }
  return is_like;
}

void Replay::Compare(Deeds replayed) {
  const Deeds& recorded = window_->recorded;
  const bool is_same =
      AreSameAnswers(recorded, replayed) && AreSameFirings(recorded, replayed) && AreSameChanges(recorded, replayed);
  if (!is_same && window_->has_foreign) return Leave(Untried::ChangedByOthers);
  ++result_.replayed;
  if (is_same) return;
  result_.difference = {window_->number, window_->time, window_->route, recorded, std::move(replayed)};
}

}  // namespace OrvWorkFlow::Program
