#include "runtime/NamedEvents.h"

#include <cstring>
#include <utility>

namespace OrvWorkFlow::OrvBase {

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
  try {
    auto event = std::make_unique<Event>(name);
    event->next_known_ = std::move(known_);
    known_ = std::move(event);
    newest_.store(known_.get());
    return known_.get();
  } catch (...) {
    return nullptr;
  }
}

bool NamedEvents::Post(Event* event) noexcept {
  std::uint64_t before = event->state_.load(std::memory_order_relaxed);
  std::uint64_t after = 0;
  do {
    after = before + Event::kOnePost;
    if ((before & Event::kWaiting) == 0) {
      after = after % Event::kOneTurn + TurnAfterAllBut(event) * Event::kOneTurn + Event::kWaiting;
    }
  } while (!event->state_.compare_exchange_weak(before, after));
  return (before & Event::kWaiting) == 0;
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

}  // namespace OrvWorkFlow::OrvBase
