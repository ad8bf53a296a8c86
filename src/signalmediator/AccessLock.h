// The mediator's access lock: re-entrant, from the host's runtime, and counted per thread.
#pragma once

#include "CoreObjects/MediatorLockDepth.h"
#include "OrvWorkFlow/OrvBase.h"
#include "base/lock/RecursiveMutex.h"
#include "base/lock/ThreadSafety.h"

namespace OrvWorkFlow::Core::Mediator {

// Lock order: engine mutex, access lock, dictionary mutex, leaf locks. Held across calls of nodes, the host, the logger
// and the factory where the mediator's operations say so. When the runtime has no mutex to give, locking does nothing.
//
// It has two halves, so that the pump, which hands signals over, and the host's GUI thread, which begins their
// deliveries, need not wait for each other. Whoever holds the lock holds both, the first one taken first. What is
// changed with the lock held may be read with either half.
class ORV_CAPABILITY AccessLock {
 public:
  AccessLock() : mutex_(OrvBase::Mutex::GetNewMutex()) {}
  ~AccessLock();
  AccessLock(const AccessLock&) = delete;
  AccessLock& operator=(const AccessLock&) = delete;

  // What a part of the mediator begins with when another part has the lock for it: the analysis does not see that both
  // mean the same one.
  void MustBeHeld() const noexcept ORV_ASSERTS_HELD(this) {}

  explicit operator bool() const noexcept { return mutex_ != nullptr; }

  // Holds the lock for a scope.
  class ORV_SCOPED_CAPABILITY Hold {
   public:
    explicit Hold(AccessLock& lock) ORV_ACQUIRE(lock) : lock_(lock) {
      lock_.Acquire();
      lock_.AcquireBeginning();
    }
    ~Hold() ORV_RELEASE() {
      lock_.GiveBackBeginning();
      lock_.GiveBack();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    AccessLock& lock_;
  };

  // The first half: deliveries may begin meanwhile. The scope may take the whole lock besides.
  class ORV_SCOPED_CAPABILITY HandingOver {
   public:
    explicit HandingOver(AccessLock& lock) ORV_ACQUIRE(lock) : lock_(lock) { lock_.Acquire(); }
    ~HandingOver() ORV_RELEASE() { lock_.GiveBack(); }
    HandingOver(const HandingOver&) = delete;
    HandingOver& operator=(const HandingOver&) = delete;

   private:
    AccessLock& lock_;
  };

  // The second half: signals may be handed over meanwhile. Alone it is for a moment in which nothing foreign is called.
  class Beginning {
   public:
    explicit Beginning(AccessLock& lock) : lock_(lock) { lock_.AcquireBeginning(); }
    ~Beginning() { lock_.GiveBackBeginning(); }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;

   private:
    AccessLock& lock_;
  };

 private:
  void Acquire() {
    if (mutex_ == nullptr) return;
    mutex_->Lock();
    ++MediatorLockDepth();
  }
  void GiveBack() {
    if (mutex_ == nullptr) return;
    --MediatorLockDepth();
    mutex_->Unlock();
  }
  void AcquireBeginning() ORV_NO_THREAD_CHECK {
    if (mutex_ != nullptr) beginning_.lock();
  }
  void GiveBackBeginning() ORV_NO_THREAD_CHECK {
    if (mutex_ != nullptr) beginning_.unlock();
  }

  OrvBase::Mutex* const mutex_;
  Base::RecursiveMutex beginning_;
};

}  // namespace OrvWorkFlow::Core::Mediator
