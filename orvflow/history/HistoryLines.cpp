#include "orvflow/history/HistoryLines.h"

#include <utility>

#include "nlohmann/json.hpp"
#include "orvflow/history/BridgeOutput.h"
#include "orvflow/history/HistoryOutput.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Delivery;
using Journal::Kind;
using Json = nlohmann::ordered_json;

}  // namespace

bool HistoryFilter::Takes(const Delivery& delivery) const {
  const Journal::Route& route = delivery.route;
  if (!node.empty() && route.receiver_instance != node && route.sender_instance != node) return false;
  if (!signal.empty() && route.receiver_signal != signal && route.sender_signal != signal) return false;
  if (only_failed && delivery.outcome == IRunObserver::Outcome::Accepted) return false;
  return delivery.number >= since;
}

std::string HistoryLines::Take(const Journal::Event& event) {
  std::string text;
  if (event.kind == Kind::RunBegun) {
    text = End();
    is_running_ = true;
    begun_ = event.time;
  }
  if (records_ == nullptr) ways_.Take(event);
  ended_ = history_.Take(event);
  if (event.kind == Kind::RunBegun) {
    time_ = begun_;
  } else if (event.time > 0) {
    time_ = begun_ + event.time;
  }
  if (ended_ && filter_.Takes(*ended_)) text += OfDelivery(*ended_);
  const bool is_of_run = event.kind == Kind::RunBegun || event.kind == Kind::RunEnded;
  if (is_of_run || !filter_.IsAny()) {
    text += Named(as_json_ ? EventAsJson(event, history_) : EventAsText(event, history_));
  }
  if (event.kind == Kind::RunEnded) is_running_ = false;
  return text;
}

std::string HistoryLines::End() {
  if (!std::exchange(is_running_, false)) return {};
  return Named(as_json_ ? KilledRunAsJson(history_) : KilledRunAsText(history_));
}

std::string HistoryLines::OfDelivery(const Delivery& delivery) {
  const BridgeWays& ways = WaysOf({delivery.run, delivery.number});
  return Named(as_json_ ? DeliveryAsJson(delivery, WaysAsJson(delivery, ways, records_))
                        : DeliveryAsText(delivery) + WaysAsText(delivery, ways, records_));
}

const BridgeWays& HistoryLines::WaysOf(const DeliveryPlace& place) {
  if (records_ != nullptr) return *whole_;
  if (!ways_.SentBy(place)) return ways_;
  if (whole_ == nullptr && find_whole_) whole_ = find_whole_();
  return whole_ != nullptr && whole_->SentBy(place) ? *whole_ : ways_;
}

std::string HistoryLines::Named(const std::string& text) const {
  if (records_ == nullptr || text.empty()) return text;
  if (as_json_) return "{\"record\":" + Json(records_->name(record_)).dump() + "," + text.substr(1);
  return records_->Named(record_, text);
}

}  // namespace OrvWorkFlow::Program
