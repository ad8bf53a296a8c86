// The waiting events of a thread: each name at most once, in posting order, with a count of all posts.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

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
  // Taker. Null is an event without a name. There must be a waiting one.
  const Event* TakeFirst() noexcept;

 private:
  Event* FindFirst() const noexcept;
  std::uint16_t TurnAfterAllBut(const Event* event) const noexcept;
  std::uint64_t AfterPost(const Event* event, std::uint64_t state) const noexcept;

  std::unique_ptr<Event> known_;  // locked; the others hang on it
  bool asleep_ = false;           // locked
  std::atomic<Event*> newest_ = nullptr;
  std::atomic<bool> nameless_waits_ = false;
};

}  // namespace OrvWorkFlow::Runtime
