#include "orvflow/watch/DeliveryLog.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Program {

void DeliveryLog::Ring::Add(const Past& delivery, std::size_t most) {
  if (kept_.size() < most) {
    kept_.push_back(delivery);
    return;
  }
  kept_[next_] = delivery;
  next_ = (next_ + 1) % most;
}

std::vector<DeliveryLog::Past> DeliveryLog::Ring::InOrder() const {
  std::vector<Past> all = kept_;
  std::rotate(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(next_), all.end());
  return all;
}

void DeliveryLog::Add(Past delivery) {
  delivery.place = ++last_place_;
  if (delivery.text.size() > kMostText) delivery.text.resize(kMostText);
  if (delivery.outcome != IRunObserver::Outcome::Accepted) {
    if (failed_.size() == kMostFailed) failed_.pop_front();
    failed_.push_back(delivery);
  }
  const std::size_t node = delivery.receiver.node;
  if (node >= nodes_.size()) nodes_.resize(node + 1);
  nodes_[node].Add(delivery, kMostOfNode);
  all_.Add(delivery, kMost);
}

std::vector<DeliveryLog::Past> DeliveryLog::After(std::uint64_t place, std::size_t most) const {
  std::vector<Past> found = all_.InOrder();
  const auto is_known = [place](const Past& delivery) { return delivery.place <= place; };
  found.erase(found.begin(), std::find_if_not(found.begin(), found.end(), is_known));
  if (found.size() > most) found.erase(found.begin(), found.end() - static_cast<std::ptrdiff_t>(most));
  return found;
}

std::vector<DeliveryLog::Past> DeliveryLog::OfNode(std::uint32_t node) const {
  return node < nodes_.size() ? nodes_[node].InOrder() : std::vector<Past>();
}

}  // namespace OrvWorkFlow::Program
