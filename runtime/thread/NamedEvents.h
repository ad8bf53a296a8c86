// The waiting events of a thread: each name at most once, in posting order, with a count of all posts.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace OrvWorkFlow::Runtime {

// Names are remembered for ever, so that a later post of one needs neither memory nor a lock. Operations marked
// "locked" want the owner's mutex held; those marked "taker" are for the one thread that takes events.
class NamedEvents {
 public:
  class Event {
   public:
    explicit Event(const char* name) : name_(name) {}
    const std::string& name() const noexcept { return name_; }
    unsigned long posts() const noexcept {
      return static_cast<unsigned long>(state_.load(std::memory_order_relaxed) % kOneTurn / kOnePost);
    }

   private:
    friend class NamedEvents;
    // The state: whether it waits, whether the taker sleeps, the posts, and above them the turn in which a waiting one
    // is taken.
    static constexpr std::uint64_t kWaiting = 1;
    static constexpr std::uint64_t kAsleep = 2;
    static constexpr std::uint64_t kOnePost = 4;
    static constexpr std::uint64_t kOneTurn = std::uint64_t{1} << 48;
    static std::uint16_t TurnOf(std::uint64_t state) noexcept { return static_cast<std::uint16_t>(state / kOneTurn); }

    const std::string name_;
    std::atomic<std::uint64_t> state_ = 0;
    std::unique_ptr<Event> next_known_;
  };

  NamedEvents() = default;
  ~NamedEvents() {
    while (known_ != nullptr) {
      known_ = std::move(known_->next_known_);
    }
  }
  NamedEvents(const NamedEvents&) = delete;
  NamedEvents& operator=(const NamedEvents&) = delete;

  // Any thread; null when the name was never posted.
  Event* Find(const char* name) const noexcept;

  // Locked. Null without memory.
  Event* FindOrAdd(const char* name) noexcept;

  // Any thread. The event is the last in line then, unless it waits already. What a thread did before its post is seen
  // by the thread that takes the event afterwards, also when the post came upon a waiting event. False, with nothing
  // done, when the taker sleeps and the event does not wait yet: it has to be woken. Else nothing of this object is
  // touched any more once the event can be taken.
  bool PostUnlessAsleep(Event* event) noexcept;
  // Locked. The same, whether the taker sleeps or not.
  void Post(Event* event) noexcept;
  // Locked. An event whose name could not be remembered.
  void PostNameless() noexcept { nameless_waits_ = true; }

  // Taker, locked: from now on posts want the mutex, or no longer.
  void SetAsleep(bool asleep) noexcept;

  // Taker.
  bool HasWaiting() const noexcept { return FindFirst() != nullptr || nameless_waits_; }
  unsigned long PostsOfFirst() const noexcept {
    const Event* const first = FindFirst();
    return first != nullptr ? first->posts() : 0;
  }
  // Taker. The waiting event that is the first in line; null when none waits that has a name.
  Event* FindFirst() const noexcept;
  // Taker. What FindFirst gave, null for an event without a name. There must be a waiting one.
  void Take(Event* first) noexcept;

 private:
  // Turns are counted in a circle; those of waiting events are never further apart than there are names.
  static bool IsBefore(std::uint16_t turn, std::uint16_t other) noexcept {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(turn - other)) < 0;
  }
  std::uint16_t TurnAfterAllBut(const Event* event) const noexcept;
  std::uint64_t AfterPost(const Event* event, std::uint64_t state) const noexcept;

  std::unique_ptr<Event> known_;  // locked; the others hang on it
  bool asleep_ = false;           // locked
  std::atomic<Event*> newest_ = nullptr;
  std::atomic<bool> nameless_waits_ = false;
};

// Every signal passes through what follows.

inline NamedEvents::Event* NamedEvents::Find(const char* name) const noexcept {
  Event* event = newest_.load();
  while (event != nullptr && std::strcmp(event->name_.c_str(), name) != 0) {
    event = event->next_known_.get();
  }
  return event;
}

// Who posts two events one after the other finds the first one waiting, or taken.
inline std::uint16_t NamedEvents::TurnAfterAllBut(const Event* event) const noexcept {
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

inline std::uint64_t NamedEvents::AfterPost(const Event* event, std::uint64_t state) const noexcept {
  state += Event::kOnePost;
  if ((state & Event::kWaiting) != 0) {
    return state;
  }
  return state % Event::kOneTurn + TurnAfterAllBut(event) * Event::kOneTurn + Event::kWaiting;
}

inline bool NamedEvents::PostUnlessAsleep(Event* event) noexcept {
  std::uint64_t state = event->state_.load(std::memory_order_relaxed);
  do {
    if ((state & (Event::kAsleep | Event::kWaiting)) == Event::kAsleep) {
      return false;
    }
  } while (!event->state_.compare_exchange_weak(state, AfterPost(event, state)));
  return true;
}

inline NamedEvents::Event* NamedEvents::FindFirst() const noexcept {
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

inline void NamedEvents::Take(Event* first) noexcept {
  if (first == nullptr) {
    nameless_waits_ = false;
  } else {
    first->state_.fetch_and(~Event::kWaiting);
  }
}

}  // namespace OrvWorkFlow::Runtime
