#include "runtime/thread/NamedEvents.h"

#include "base/guard/Guarded.h"

namespace OrvWorkFlow::Runtime {

NamedEvents::Event* NamedEvents::FindOrAdd(const char* name) noexcept {
  if (Event* const known = Find(name)) {
    return known;
  }
  return Base::Guarded([&] {
    auto event = std::make_unique<Event>(name);
    if (asleep_) {
      event->state_ = Event::kAsleep;
    }
    event->next_known_ = std::move(known_);
    known_ = std::move(event);
    newest_.store(known_.get());
    return known_.get();
  });
}

void NamedEvents::Post(Event* event) noexcept {
  std::uint64_t state = event->state_.load(std::memory_order_relaxed);
  while (!event->state_.compare_exchange_weak(state, AfterPost(event, state))) {
  }
}

// A post that was not told of the sleep is seen by who looks afterwards.
void NamedEvents::SetAsleep(bool asleep) noexcept {
  asleep_ = asleep;
  for (Event* event = newest_.load(); event != nullptr; event = event->next_known_.get()) {
    if (asleep) {
      event->state_.fetch_or(Event::kAsleep);
    } else {
      event->state_.fetch_and(~Event::kAsleep);
    }
  }
}

}  // namespace OrvWorkFlow::Runtime
