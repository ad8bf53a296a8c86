// The mediator's access lock: re-entrant, from the host's runtime, and counted per thread.
#pragma once

#include "CoreObjects/ThreadSafety.h"
#include "OrvWorkFlow/OrvBase.h"

namespace OrvWorkFlow::Core::Mediator {

// Lock order: engine mutex, access lock, dictionary mutex, leaf locks. Held across calls of nodes, the host, the logger
// and the factory where the mediator's operations say so. When the runtime has no mutex to give, locking does nothing.
class ORV_CAPABILITY AccessLock {
 public:
  AccessLock() : mutex_(OrvBase::Mutex::GetNewMutex()) {}
  ~AccessLock();
  AccessLock(const AccessLock&) = delete;
  AccessLock& operator=(const AccessLock&) = delete;

  // Holds the lock for a scope, or until Release.
  class ORV_SCOPED_CAPABILITY Hold {
   public:
    explicit Hold(AccessLock& lock) ORV_ACQUIRE(lock) : lock_(&lock) { lock.Acquire(); }
    ~Hold() ORV_RELEASE() { LetGo(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    void Release() ORV_RELEASE() { LetGo(); }

   private:
    void LetGo();

    AccessLock* lock_;
  };

 private:
  void Acquire();
  void GiveBack();

  OrvBase::Mutex* const mutex_;
};

}  // namespace OrvWorkFlow::Core::Mediator
