// The one thread on which an object does its asynchronous calls.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "OrvWorkFlow/OrvBase.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::FileSystem {

// Does one call at a time. The thread comes from the host's runtime with the first call and then waits for the next
// ones until Stop. Any thread.
class AsyncWorker {
 public:
  // An accepted call: `run` first, then `completed` with its result. Each is called once, on the worker's thread; what
  // they throw counts as false or is swallowed.
  struct Call {
    std::function<bool()> run;
    std::function<void(bool)> completed;
  };
  enum class StartResult { Started, InProgress, NoThread };

  AsyncWorker() = default;
  AsyncWorker(const AsyncWorker&) = delete;
  AsyncWorker& operator=(const AsyncWorker&) = delete;

  // A call is in progress until just before its `completed` is called, so that whoever is woken by that, and
  // `completed` itself, can start the next one. `owner` holds this worker and all that the calls use; the thread keeps
  // it as long as it runs.
  StartResult Start(const std::shared_ptr<void>& owner, Call call) noexcept;

  // Once, and no Start follows. Ends the thread after the calls accepted by then, and waits for it; on the worker's own
  // thread, it returns at once.
  void Stop() noexcept;

 private:
  struct ReleaseThread {
    void operator()(OrvBase::Thread* thread) const noexcept;
  };

  static unsigned Procedure(void* worker);
  bool StartThread(const std::shared_ptr<void>& owner) ORV_REQUIRES(mutex_);
  void Run();
  void Do(const Call& call);

  Base::Mutex mutex_;  // Guards all; a leaf.
  Base::Condition changed_;
  std::unique_ptr<OrvBase::Thread, ReleaseThread> thread_ ORV_GUARDED_BY(mutex_);
  std::thread::id thread_id_ ORV_GUARDED_BY(mutex_);
  std::shared_ptr<void> owner_ ORV_GUARDED_BY(mutex_);  // For the thread, until it has begun.
  std::optional<Call> next_ ORV_GUARDED_BY(mutex_);
  bool in_progress_ ORV_GUARDED_BY(mutex_) = false;
  bool running_ ORV_GUARDED_BY(mutex_) = false;  // Started, and not behind its last look at `next_`.
  bool stopping_ ORV_GUARDED_BY(mutex_) = false;
};

}  // namespace OrvWorkFlow::Core::FileSystem
