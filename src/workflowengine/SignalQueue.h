// The signals that wait to be fired, in order.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace OrvWorkFlow::Core::Engine {

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
  QueueEntry(const QueueEntry& other) noexcept : block_(other.block_) {
    if (block_ != nullptr) block_->shares.fetch_add(1, std::memory_order_relaxed);
  }
  QueueEntry(QueueEntry&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  QueueEntry& operator=(QueueEntry other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~QueueEntry() {
    if (block_ != nullptr && block_->shares.fetch_sub(1, std::memory_order_acq_rel) == 1) Free(block_);
  }

  // Zero-terminated; valid as long as any copy of the entry.
  const char* Text(Field field) const noexcept { return block_ != nullptr ? block_->texts[field] : ""; }

 private:
  // The characters stand behind it, each text with its terminator.
  struct Block {
    std::atomic<std::uint32_t> shares = 1;
    std::array<const char*, kFieldCount> texts{};
  };

  static void Free(Block* block) noexcept;

  Block* block_ = nullptr;
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
  const QueueEntry& At(std::size_t index) const noexcept { return slots_[Place(index)]; }

 private:
  std::size_t Place(std::size_t index) const noexcept {
    const std::size_t place = head_ + index;
    return place < slots_.size() ? place : place - slots_.size();
  }

  std::vector<QueueEntry> slots_;
  std::size_t head_ = 0;
  std::size_t size_ = 0;
};

}  // namespace OrvWorkFlow::Core::Engine
