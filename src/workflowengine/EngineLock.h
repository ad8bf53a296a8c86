// Holding the engine mutex for a scope.
#pragma once

#include <utility>

#include "OrvWorkFlow/OrvBase.h"

namespace OrvWorkFlow::Core::Engine {

// A missing mutex (null) counts as held. Functions that need the lock take it as an argument.
class EngineLock {
 public:
  // Waits for the mutex.
  explicit EngineLock(OrvBase::Mutex* mutex) : mutex_(mutex), held_(true) {
    if (mutex_ != nullptr) mutex_->Lock();
  }
  // Does not wait; test the result.
  static EngineLock Try(OrvBase::Mutex* mutex) { return {mutex, mutex == nullptr || mutex->TryLock()}; }

  EngineLock(EngineLock&& other) noexcept : mutex_(other.mutex_), held_(std::exchange(other.held_, false)) {}
  EngineLock& operator=(EngineLock&&) = delete;
  ~EngineLock() { Unlock(); }

  explicit operator bool() const { return held_; }

  void Unlock() noexcept {
    if (!std::exchange(held_, false) || mutex_ == nullptr) return;
    mutex_->Unlock();
  }

 private:
  EngineLock(OrvBase::Mutex* mutex, bool held) : mutex_(mutex), held_(held) {}

  OrvBase::Mutex* mutex_;
  bool held_;
};

}  // namespace OrvWorkFlow::Core::Engine
