// The waiting events of a thread: each name at most once, in posting order, with a count of all posts.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace OrvWorkFlow::OrvBase {

// Names are remembered for ever, so that a later post of one needs neither memory nor a lock: most posts find their
// event waiting already, and then all they do is to count. Operations marked "locked" want the owner's mutex held.
class NamedEvents {
 public:
  class Event {
   public:
    explicit Event(std::string_view name) : name_(name) {}
    const std::string& name() const noexcept { return name_; }
    unsigned long posts() const noexcept { return posts_.load(std::memory_order_relaxed); }

    // Any thread. True when the event was not waiting: the caller must put it in line then. What a thread did before
    // its post is seen by the thread that takes the event afterwards, also when the post came upon a waiting event.
    bool Post() noexcept {
      posts_.fetch_add(1, std::memory_order_relaxed);
      return !waiting_.exchange(true, std::memory_order_acq_rel);
    }

   private:
    friend class NamedEvents;
    const std::string name_;
    std::atomic<unsigned long> posts_ = 0;
    std::atomic<bool> waiting_ = false;
    Event* next_in_line_ = nullptr;
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
  Event* Find(std::string_view name) const noexcept;

  // Locked. Null without memory.
  Event* FindOrAdd(std::string_view name) noexcept;
  // Locked.
  void PutInLine(Event* event) noexcept;
  // Locked. An event whose name could not be remembered.
  void PutNamelessInLine() noexcept { nameless_waits_ = true; }
  // Any thread.
  bool HasWaiting() const noexcept { return first_ != nullptr || nameless_waits_; }
  unsigned long PostsOfFirst() const noexcept {
    const Event* const first = first_;
    return first != nullptr ? first->posts() : 0;
  }
  // Locked. Null is an event without a name. There must be a waiting one.
  const Event* TakeFirst() noexcept;

 private:
  std::unique_ptr<Event> known_;  // locked; the others hang on it
  std::atomic<Event*> newest_ = nullptr;
  std::atomic<Event*> first_ = nullptr;  // this and the flag are changed locked
  Event* last_ = nullptr;
  std::atomic<bool> nameless_waits_ = false;
};

}  // namespace OrvWorkFlow::OrvBase
