// The host's base runtime (part of `wffDDR`): threads with named events, re-entrant mutexes, events.
//
// Each Get... function makes a new object that the caller owns and ends with Release(), or gives null.
#pragma once

#include "OrvWorkFlow/Export.h"
#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow::OrvBase {

// A thread that can be started, and started again after its procedure has returned. Any thread may post.
class Thread {
 public:
  using Procedure = unsigned (*)(void* argument);

  ORV_RUNTIME_API static Thread* GetNewThread();

  // What the next start passes to the procedure. Not while the thread runs.
  virtual void SetArgument(void* argument) = 0;
  // False when `procedure` is null or the thread runs.
  virtual bool SetProcedure(Procedure procedure) = 0;
  // Starts the procedure on a thread of its own. False without a procedure, while it runs, or when the system refuses.
  // Events posted earlier are still there. A procedure must not throw; what it throws is swallowed.
  virtual bool Start() = 0;
  // Leaves a named event for WaitForEvent and wakes it. An event that is already waiting under that name is not added a
  // second time. Posts made while the thread is busy or not started are remembered.
  virtual void PostNamedEvent(const char* name) = 0;
  // Waits without limit for the next event in posting order and takes it; called by the procedure itself. Assigns the
  // event's name when `name` is not null. May throw what `name` throws.
  virtual bool WaitForEvent(IOrvPString* name) = 0;
  // From SetProcedure's point of view: started and not returned yet.
  virtual bool IsRunning() const = 0;
  // How often PostNamedEvent was called under that name, merged posts included.
  virtual unsigned long GetPostCount(const char* name) const = 0;
  // Ends the object. A thread whose procedure still runs is let go on: it keeps what it needs and ends by itself;
  // called from another thread, Release first waits for a procedure that has returned to be gone.
  virtual void Release() = 0;

 protected:
  ~Thread() = default;
};

// A re-entrant lock: the owner may lock again and unlocks as often.
class Mutex {
 public:
  ORV_RUNTIME_API static Mutex* GetNewMutex();

  virtual void Lock() = 0;
  virtual void Unlock() = 0;
  // True when this thread has it now; never waits.
  virtual bool TryLock() = 0;
  virtual void Release() = 0;

 protected:
  ~Mutex() = default;
};

// A flag to wait for; stays set until it is reset. Any thread.
class Event {
 public:
  ORV_RUNTIME_API static Event* GetNewEvent();

  virtual void Reset() = 0;
  virtual void Set() = 0;
  // True when the flag was set within that many milliseconds.
  virtual bool Wait(unsigned milliseconds) = 0;
  virtual void Release() = 0;

 protected:
  ~Event() = default;
};

// Lets a host bring primitives of its own (and a test, ones that fail). A null member means the runtime's own.
// Objects already made are not touched. Call it while no other thread makes primitives.
struct PrimitiveSource {
  Thread* (*new_thread)() = nullptr;
  Mutex* (*new_mutex)() = nullptr;
  Event* (*new_event)() = nullptr;
};
ORV_RUNTIME_API PrimitiveSource SetPrimitiveSource(PrimitiveSource source) noexcept;

// Pauses the calling thread. A test may replace the clock by a function that only counts; null brings the real one
// back.
ORV_RUNTIME_API void SleepMilliseconds(unsigned milliseconds);
using SleepFunction = void (*)(unsigned milliseconds);
ORV_RUNTIME_API SleepFunction SetSleepFunction(SleepFunction function) noexcept;

}  // namespace OrvWorkFlow::OrvBase
