#include "runtime/NamedEvents.h"

#include <utility>

namespace OrvWorkFlow::OrvBase {

NamedEvents::Event* NamedEvents::Find(std::string_view name) const noexcept {
  Event* event = newest_.load(std::memory_order_acquire);
  while (event != nullptr && event->name_ != name) {
    event = event->next_known_.get();
  }
  return event;
}

NamedEvents::Event* NamedEvents::FindOrAdd(std::string_view name) noexcept {
  if (Event* const known = Find(name)) {
    return known;
  }
  try {
    auto event = std::make_unique<Event>(name);
    event->next_known_ = std::move(known_);
    known_ = std::move(event);
    newest_.store(known_.get(), std::memory_order_release);
    return known_.get();
  } catch (...) {
    return nullptr;
  }
}

void NamedEvents::PutInLine(Event* event) noexcept {
  event->next_in_line_ = nullptr;
  if (last_ != nullptr) {
    last_->next_in_line_ = event;
  } else {
    first_ = event;
  }
  last_ = event;
}

const NamedEvents::Event* NamedEvents::TakeFirst() noexcept {
  Event* const event = first_;
  if (event == nullptr) {
    nameless_waits_ = false;
    return nullptr;
  }
  first_ = event->next_in_line_;
  if (event->next_in_line_ == nullptr) {
    last_ = nullptr;
  }
  event->waiting_.exchange(false, std::memory_order_acq_rel);
  return event;
}

}  // namespace OrvWorkFlow::OrvBase
