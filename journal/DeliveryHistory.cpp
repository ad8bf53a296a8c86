#include "journal/DeliveryHistory.h"

#include <utility>

namespace OrvWorkFlow::Journal {

std::optional<Delivery> DeliveryHistory::Take(const Event& event) {
  switch (event.kind) {
    case Kind::RunBegun:
      ++run_;
      waiting_.clear();
      at_work_.clear();
      break;
    case Kind::SignalQueued: {
      const auto cause = at_work_.find(event.cause);
      if (cause != at_work_.end()) cause->second.caused.push_back(event.number);
      Delivery& delivery = waiting_[event.number];
      delivery.run = run_;
      delivery.number = event.number;
      delivery.cause = event.cause;
      delivery.is_restored = event.is_marked;
      delivery.route = *event.route;
      break;
    }
    case Kind::SignalIgnored: {
      const auto cause = at_work_.find(event.cause);
      if (cause != at_work_.end()) cause->second.untaken.push_back(event.route->sender_signal);
      break;
    }
    case Kind::SignalsDropped:
      waiting_.erase(waiting_.lower_bound(event.number), waiting_.lower_bound(event.number + event.count));
      break;
    case Kind::DeliveryBegun: {
      auto delivery = waiting_.extract(event.number);
      Delivery& begun = at_work_[event.number];
      if (delivery) begun = std::move(delivery.mapped());
      begun.run = run_;
      begun.number = event.number;
      if (event.route != nullptr) begun.route = *event.route;
      begun.begun = event.time;
      break;
    }
    case Kind::DeliveryEnded: {
      auto at_work = at_work_.extract(event.number);
      auto waiting = waiting_.extract(event.number);
      // One that could not be begun has ended, too.
      Delivery ended;
      if (at_work) {
        ended = std::move(at_work.mapped());
      } else {
        if (waiting) ended = std::move(waiting.mapped());
        ended.run = run_;
        ended.number = event.number;
        ended.begun = event.time;
      }
      if (event.route != nullptr) ended.route = *event.route;
      ended.ended = event.time;
      ended.outcome = event.outcome;
      ended.text = event.text;
      return ended;
    }
    default:
      break;
  }
  return std::nullopt;
}

}  // namespace OrvWorkFlow::Journal
