// The signals that wait to be fired, in order.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "CoreObjects/SignalTexts.h"

namespace OrvWorkFlow::Core::Engine {

using QueueEntry = SignalTexts;

// A ring of entries, with room for 10 at first, that doubles when it is full. Appending and taking cost the same
// however many entries wait. One thread at a time.
class SignalQueue {
 public:
  static constexpr std::size_t kFirstRoom = 10;

  SignalQueue() : slots_(kFirstRoom) {}

  std::size_t Size() const noexcept { return size_; }
  std::size_t Room() const noexcept { return slots_.size(); }

  // At the back; without memory it throws and nothing has changed.
  void Append(QueueEntry&& entry) {
    if (size_ == slots_.size()) Grow();
    slots_[Place(size_)] = std::move(entry);
    ++size_;
  }
  // The front entry, which leaves the queue. Not on an empty queue.
  QueueEntry TakeFront() noexcept {
    QueueEntry entry = std::move(slots_[head_]);
    head_ = Place(1);
    --size_;
    return entry;
  }
  // Entry number `index` from the front, less than Size().
  const QueueEntry& At(std::size_t index) const noexcept { return slots_[Place(index)]; }

 private:
  std::size_t Place(std::size_t index) const noexcept {
    const std::size_t place = head_ + index;
    return place < slots_.size() ? place : place - slots_.size();
  }

  void Grow();

  std::vector<QueueEntry> slots_;
  std::size_t head_ = 0;
  std::size_t size_ = 0;
};

}  // namespace OrvWorkFlow::Core::Engine
