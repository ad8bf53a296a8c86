#include "journal/RunStanding.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Journal {

namespace {

// More are not told apart.
constexpr std::size_t kMostFailures = 100'000;

bool IsPastQueue(std::uint64_t number) { return number >= SignalNumbers::kPastQueue; }

}  // namespace

void RunStanding::Take(const Event& event) {
  switch (event.kind) {
    case Kind::RunBegun:
      TakeBeginning(event);
      break;
    case Kind::Snapshot:
      has_snapshot_ = true;
      before_ = event.before;
      break;
    case Kind::SignalQueued:
      TakeQueued(event);
      break;
    case Kind::SignalsDropped:
      waiting_.erase(waiting_.lower_bound(event.number), waiting_.lower_bound(event.number + event.count));
      break;
    case Kind::DeliveryBegun:
      TakeBegun(event);
      break;
    case Kind::DeliveryEnded:
      TakeEnded(event);
      break;
    case Kind::SignalIgnored:
      TakeUnitEnd(event);
      break;
    case Kind::MappingNotRead:
    case Kind::SignalLost:
      if (failures_.size() < kMostFailures) failures_.push_back({event, *event.route});
      break;
    case Kind::RebootSignalFired:
      waiting_[event.number] = {0, *event.route};
      fired_.push_back(*event.route);
      continuations_.erase({event.route->receiver_type, event.route->receiver_instance});
      break;
    case Kind::NodeDescribed:
      if (!event.describes_itself || !event.state_in_dictionary) private_nodes_.push_back({event.type, event.instance});
      break;
    case Kind::FlowAbsorbed:
      absorbed_.push_back({event.unit, event.name, event.path});
      break;
    case Kind::Change:
      if (event.unit.kind == Unit::Kind::Held) held_.insert(event.unit.number);
      break;
    case Kind::ChangesLost:
      has_lost_changes_ = true;
      break;
    case Kind::StateSaved:
      was_saved_ = true;
      break;
    case Kind::RunEnded:
      has_ended_ = true;
      break;
    default:
      break;
  }
}

void RunStanding::TakeBeginning(const Event& event) {
  const unsigned run = run_ + 1;
  *this = {};
  run_ = run;
  name_ = event.name;
  flow_ = event.path;
  began_ = event.time;
  was_continued_ = event.is_marked;
}

const Route* RunStanding::unfinished() const { return begun_.empty() ? nullptr : &begun_.rbegin()->second.route; }

void RunStanding::TakeQueued(const Event& event) {
  waiting_[event.number] = {event.cause != 0 ? event.cause : event.during, *event.route};
  if (event.cause == 0 && !event.is_marked) {
    firing_.push_back(event.number);
    if (!event.has_more) firing_.clear();
    if (event.route->sender_type.empty()) started_.push_back(*event.route);
  }
  if (!event.has_more) TakeUnitEnd(event);
}

// Of a firing outside of deliveries.
void RunStanding::TakeUnitEnd(const Event& event) {
  if (event.held != 0) EndHeld(event);
  NoteContinuation({event.route->sender_type, event.route->sender_instance}, event);
}

// What a node changes and fires on a thread of its own, while the delivery that set it to work has not ended, counts
// with that delivery: it would be done again with it.
void RunStanding::EndHeld(const Event& event) {
  held_.erase(event.held);
  std::uint64_t during = event.during;
  for (const auto& [number, signal] : begun_) {
    const bool is_to_sender = signal.route.receiver_type == event.route->sender_type &&
                              signal.route.receiver_instance == event.route->sender_instance;
    if (during == 0 && is_to_sender) during = number;
  }
  if (during != 0 && begun_.contains(during)) held_during_[during].push_back(event.held);
}

void RunStanding::NoteContinuation(const Node& node, const Event& event) {
  if (!event.has_continuation) return;
  if (event.continuation.empty()) {
    continuations_.erase(node);
  } else {
    continuations_[node] = event.continuation;
  }
}

void RunStanding::TakeBegun(const Event& event) {
  auto signal = waiting_.extract(event.number);
  if (signal) {
    begun_.insert(std::move(signal));
  } else if (event.route != nullptr) {
    begun_[event.number] = {0, *event.route};
  }
}

// One that could not be begun has ended, too.
void RunStanding::TakeEnded(const Event& event) {
  auto signal = begun_.extract(event.number);
  held_during_.erase(event.number);
  if (!signal) signal = waiting_.extract(event.number);
  Route route;
  if (signal) {
    route = std::move(signal.mapped().route);
  } else if (event.route != nullptr) {
    route = *event.route;
  }
  if (!IsPastQueue(event.number)) ++delivered_;
  NoteContinuation({route.receiver_type, route.receiver_instance}, event);
  if (event.outcome == IRunObserver::Outcome::Accepted || failures_.size() >= kMostFailures) return;
  failures_.push_back({event, std::move(route)});
}

bool RunStanding::Counts(const Unit& unit) const {
  switch (unit.kind) {
    case Unit::Kind::Delivery:
      return !begun_.contains(unit.number);
    case Unit::Kind::Held:
      return !held_.contains(unit.number) &&
             std::none_of(held_during_.begin(), held_during_.end(), [&](const auto& delivery) {
               return std::find(delivery.second.begin(), delivery.second.end(), unit.number) != delivery.second.end();
             });
    case Unit::Kind::None:
      break;
  }
  return true;
}

bool RunStanding::IsToCount(const Signal& signal) const { return !begun_.contains(signal.within); }

std::map<std::uint64_t, const Route*> RunStanding::NumberedQueue() const {
  const std::set<std::uint64_t> unfinished(firing_.begin(), firing_.end());
  std::map<std::uint64_t, const Route*> queue;
  for (const auto& [number, signal] : begun_) {
    if (!IsPastQueue(number)) queue[number] = &signal.route;
  }
  for (const auto& [number, signal] : waiting_) {
    if (!IsPastQueue(number) && IsToCount(signal) && !unfinished.contains(number)) queue[number] = &signal.route;
  }
  return queue;
}

std::vector<Route> RunStanding::MakeQueue() const {
  const std::map<std::uint64_t, const Route*> queue = NumberedQueue();
  std::vector<Route> routes;
  routes.reserve(queue.size());
  for (const auto& [number, route] : queue) routes.push_back(*route);
  return routes;
}

std::vector<Route> RunStanding::MakeRebootSignals() const {
  std::vector<Route> routes;
  std::set<Node> nodes;
  for (const auto* const signals : {&begun_, &waiting_}) {
    for (const auto& [number, signal] : *signals) {
      if (!IsPastQueue(number)) continue;
      routes.push_back(signal.route);
      nodes.insert({signal.route.receiver_type, signal.route.receiver_instance});
    }
  }
  for (const auto& [node, signal] : continuations_) {
    if (!nodes.contains(node)) routes.push_back({{}, {}, {}, node.type, node.instance, signal});
  }
  return routes;
}

std::vector<RunStanding::Absorbed> RunStanding::absorbed() const {
  std::vector<Absorbed> counted;
  for (const Absorbed& flow : absorbed_) {
    if (Counts(flow.unit)) counted.push_back(flow);
  }
  return counted;
}

void RunStanding::TellFailures(IRunObserver& observer, const std::function<void(std::uint64_t)>& tell_time) const {
  for (const auto& [event, route] : failures_) {
    if (event.kind != Kind::DeliveryEnded && begun_.contains(event.cause)) continue;
    const IRunObserver::Sender sender{route.sender_type.c_str(), route.sender_instance.c_str(),
                                      route.sender_signal.c_str()};
    const IRunObserver::Receiver receiver{route.receiver_type.c_str(), route.receiver_instance.c_str(),
                                          route.receiver_signal.c_str()};
    const auto reached = static_cast<std::uint32_t>(event.count);
    tell_time(began_ + event.time);
    if (event.kind == Kind::DeliveryEnded) {
      observer.DeliveryEnded({event.number, sender, receiver}, event.outcome, event.text.c_str());
    } else if (event.kind == Kind::SignalLost) {
      observer.SignalLost({event.cause, sender, receiver, event.loss, reached});
    } else {
      observer.MappingNotRead(
          {event.cause, sender, event.path.c_str(), event.is_marked ? event.text.c_str() : nullptr, reached});
    }
  }
}

}  // namespace OrvWorkFlow::Journal
