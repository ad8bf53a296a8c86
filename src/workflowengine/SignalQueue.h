// The signals that wait to be fired, in order.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace OrvWorkFlow {

// One signal on its way: six texts that never change, in one block of memory that all copies share.
class QueueEntry {
 public:
  enum Field {
    SenderType,
    SenderInstance,
    OutgoingSignal,
    ReceiverType,
    ReceiverInstance,
    IncomingSignal,
    kFieldCount,
  };
  using Texts = std::array<std::string_view, kFieldCount>;

  QueueEntry() = default;  // six empty texts
  // A text ends at its first zero character.
  explicit QueueEntry(const Texts& texts);

  // Zero-terminated; valid as long as any copy of the entry.
  const char* Text(Field field) const noexcept;

 private:
  std::shared_ptr<const char[]> block_;  // the texts one behind the other, each with its terminator
};

// A ring of entries, with room for 10 at first, that doubles when it is full. Appending and taking cost the same
// however many entries wait. One thread at a time.
class SignalQueue {
 public:
  static constexpr std::size_t kFirstRoom = 10;

  SignalQueue() : slots_(kFirstRoom) {}

  std::size_t Size() const noexcept { return size_; }
  std::size_t Room() const noexcept { return slots_.size(); }

  // At the back; without memory it throws and nothing has changed.
  void Append(QueueEntry entry);
  // The front entry, which leaves the queue. Not on an empty queue.
  QueueEntry TakeFront() noexcept;
  // Entry number `index` from the front, less than Size().
  const QueueEntry& At(std::size_t index) const noexcept { return slots_[(head_ + index) % slots_.size()]; }

 private:
  std::vector<QueueEntry> slots_;
  std::size_t head_ = 0;
  std::size_t size_ = 0;
};

}  // namespace OrvWorkFlow
