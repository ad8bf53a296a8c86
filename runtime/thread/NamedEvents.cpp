#include "runtime/thread/NamedEvents.h"

#include <cstring>
#include <utility>

#include "base/guard/Guarded.h"

namespace OrvWorkFlow::Runtime {

namespace {

// Turns are counted in a circle; those of waiting events are never further apart than there are names.
bool IsBefore(std::uint16_t turn, std::uint16_t other) noexcept {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(turn - other)) < 0;
}

}  // namespace

NamedEvents::Event* NamedEvents::Find(const char* name) const noexcept {
  Event* event = newest_.load();
  while (event != nullptr && std::strcmp(event->name_.c_str(), name) != 0) {
    event = event->next_known_.get();
  }
  return event;
}

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

bool NamedEvents::PostUnlessAsleep(Event* event) noexcept {
  std::uint64_t state = event->state_.load(std::memory_order_relaxed);
  do {
    if ((state & (Event::kAsleep | Event::kWaiting)) == Event::kAsleep) {
      return false;
    }
  } while (!event->state_.compare_exchange_weak(state, AfterPost(event, state)));
  return true;
}

void NamedEvents::Post(Event* event) noexcept {
  std::uint64_t state = event->state_.load(std::memory_order_relaxed);
  while (!event->state_.compare_exchange_weak(state, AfterPost(event, state))) {
  }
}

std::uint64_t NamedEvents::AfterPost(const Event* event, std::uint64_t state) const noexcept {
  state += Event::kOnePost;
  if ((state & Event::kWaiting) != 0) {
    return state;
  }
  return state % Event::kOneTurn + TurnAfterAllBut(event) * Event::kOneTurn + Event::kWaiting;
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

// Who posts two events one after the other finds the first one waiting, or taken.
std::uint16_t NamedEvents::TurnAfterAllBut(const Event* event) const noexcept {
  bool found = false;
  std::uint16_t last = 0;
  for (const Event* other = newest_.load(); other != nullptr; other = other->next_known_.get()) {
    const std::uint64_t state = other->state_.load();
    if (other == event || (state & Event::kWaiting) == 0) {
      continue;
    }
    if (!std::exchange(found, true) || IsBefore(last, Event::TurnOf(state))) {
      last = Event::TurnOf(state);
    }
  }
  return found ? static_cast<std::uint16_t>(last + 1) : last;
}

NamedEvents::Event* NamedEvents::FindFirst() const noexcept {
  Event* first = nullptr;
  std::uint16_t turn = 0;
  for (Event* event = newest_.load(); event != nullptr; event = event->next_known_.get()) {
    const std::uint64_t state = event->state_.load();
    if ((state & Event::kWaiting) != 0 && (first == nullptr || IsBefore(Event::TurnOf(state), turn))) {
      first = event;
      turn = Event::TurnOf(state);
    }
  }
  return first;
}

const NamedEvents::Event* NamedEvents::TakeFirst() noexcept {
  Event* const event = FindFirst();
  if (event == nullptr) {
    nameless_waits_ = false;
  } else {
    event->state_.fetch_and(~Event::kWaiting);
  }
  return event;
}

}  // namespace OrvWorkFlow::Runtime
