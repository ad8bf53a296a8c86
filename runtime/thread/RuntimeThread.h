// The runtime's thread with named events.
#pragma once

#include <atomic>
#include <thread>

#include "OrvWorkFlow/OrvBase.h"
#include "base/lock/Mutex.h"
#include "runtime/thread/NamedEvents.h"
#include "runtime/thread/ShortWait.h"

namespace OrvWorkFlow::Runtime {

// Two share it: whoever asked for it, until Release, and the procedure, until it has returned. So a procedure whose
// thread was released while it ran still finds its events.
class RuntimeThread final : public OrvBase::Thread {
 public:
  RuntimeThread() = default;
  RuntimeThread(const RuntimeThread&) = delete;
  RuntimeThread& operator=(const RuntimeThread&) = delete;

  void SetArgument(void* argument) override;
  bool SetProcedure(Procedure procedure) override;
  bool Start() override;
  void PostNamedEvent(const char* name) override;
  bool WaitForEvent(IOrvPString* name) override;
  bool IsRunning() const override;
  unsigned long GetPostCount(const char* name) const override;
  void Release() override;

 private:
  ~RuntimeThread() = default;

  bool StartSystemThread() ORV_REQUIRES(start_mutex_);
  void Run(Procedure procedure, void* argument) noexcept;
  void WaitUntilPosted();
  void Sleep();
  void DropShare() noexcept;

  std::atomic<int> shares_{1};

  // Guards system_thread_: one Start or Release at a time. Taken before mutex_, never by the running procedure's end.
  Base::Mutex start_mutex_;
  std::thread system_thread_ ORV_GUARDED_BY(start_mutex_);

  mutable Base::Mutex mutex_;  // Guards what follows, as far as that does not guard itself; a leaf.
  Base::Condition posted_;
  Procedure procedure_ ORV_GUARDED_BY(mutex_) = nullptr;
  void* argument_ ORV_GUARDED_BY(mutex_) = nullptr;
  bool running_ ORV_GUARDED_BY(mutex_) = false;
  NamedEvents events_;    // The procedure takes them.
  ShortWait short_wait_;  // The procedure's.
};

}  // namespace OrvWorkFlow::Runtime
