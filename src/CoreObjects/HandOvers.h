// The signals that the pump has handed over to the host application and whose delivery has not ended, the limit on
// their number, and how many may still follow.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core {

// Shared by the engine and the messages under way, which may outlive it. Any thread. Nobody waits here: a pump that
// finds no room ends its pass, and the end of a delivery wakes it.
class HandOvers {
 public:
  // `wake` is called, with a leaf lock held, after each delivery that ends while there is a limit, until Detach.
  explicit HandOvers(std::function<void()> wake) : wake_(std::move(wake)) {}
  void Detach() noexcept {
    const Base::Hold lock(wake_mutex_);
    wake_ = nullptr;
  }

  // 0: none. What is handed over without a limit is not counted.
  void SetLimit(std::uint32_t limit) noexcept { limit_ = limit; }
  bool HasLimit() const noexcept { return limit_.load(std::memory_order_relaxed) != 0; }

  // Whoever queues something and then finds this true need not wake the pump: a delivery is still to end, and its wake
  // comes after.
  bool IsFull() const noexcept { return HasLimit() && count_ >= limit_; }

  // How many signals the pump may still take; kNoQuota: any number. Whoever sets it wakes the pump.
  static constexpr std::uint32_t kNoQuota = 0xFFFFFFFF;
  void SetQuota(std::uint32_t signals) noexcept { quota_ = signals; }
  // For the pump, before it takes one. False when it may not.
  bool TakeFromQuota() noexcept {
    std::uint32_t left = quota_.load(std::memory_order_relaxed);
    while (left != kNoQuota) {
      if (left == 0) return false;
      if (quota_.compare_exchange_weak(left, left - 1)) return true;
    }
    return true;
  }

 private:
  friend class HandOver;
  void Begin() noexcept { ++count_; }
  void End() noexcept {
    --count_;
    if (!HasLimit()) return;
    const Base::Hold lock(wake_mutex_);
    try {
      if (wake_) wake_();
    } catch (...) {  // The host's thread object has no memory for an event; the next one wakes the pump.
    }
  }

  std::atomic<std::uint32_t> limit_ = 0;
  std::atomic<std::uint32_t> count_ = 0;
  std::atomic<std::uint32_t> quota_ = kNoQuota;
  Base::Mutex wake_mutex_;  // leaf, but for the host's thread object
  std::function<void()> wake_ ORV_GUARDED_BY(wake_mutex_);
};

// One of them, for as long as it lives; an empty one counts nothing.
class HandOver {
 public:
  HandOver() = default;
  explicit HandOver(std::shared_ptr<HandOvers> all) noexcept : all_(std::move(all)) {
    if (all_ != nullptr) all_->Begin();
  }
  HandOver(HandOver&& other) noexcept : all_(std::move(other.all_)) {}
  HandOver& operator=(HandOver&& other) noexcept {
    End();
    all_ = std::move(other.all_);
    return *this;
  }
  ~HandOver() { End(); }

  void End() noexcept {
    if (all_ == nullptr) return;
    all_->End();
    all_.reset();
  }

 private:
  std::shared_ptr<HandOvers> all_;
};

}  // namespace OrvWorkFlow::Core
