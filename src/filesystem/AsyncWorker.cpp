#include "filesystem/AsyncWorker.h"

#include <chrono>
#include <utility>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Between the procedure's last step and the moment in which the runtime knows that it has returned.
constexpr std::chrono::seconds kReturnTime(1);

void WaitUntilReturned(const OrvBase::Thread& thread) {
  const auto end = std::chrono::steady_clock::now() + kReturnTime;
  while (thread.IsRunning() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
}

}  // namespace

void AsyncWorker::ReleaseThread::operator()(OrvBase::Thread* thread) const noexcept {
  try {
    thread->Release();
  } catch (...) {  // A host's thread may throw; there is nobody to tell.
  }
}

AsyncWorker::StartResult AsyncWorker::Start(const std::shared_ptr<void>& owner, Call call) noexcept {
  const Base::Hold lock(mutex_);
  if (in_progress_) return StartResult::InProgress;
  next_ = std::move(call);
  in_progress_ = true;
  if (running_) {
    changed_.NotifyAll();
    return StartResult::Started;
  }
  bool started = false;
  try {
    started = StartThread(owner);
  } catch (...) {  // Like a refusal.
  }
  if (started) return StartResult::Started;
  next_.reset();
  owner_.reset();
  running_ = false;
  in_progress_ = false;
  return StartResult::NoThread;
}

bool AsyncWorker::StartThread(const std::shared_ptr<void>& owner) {
  if (thread_ == nullptr) thread_.reset(OrvBase::Thread::GetNewThread());
  if (thread_ == nullptr || !thread_->SetProcedure(&Procedure)) return false;
  thread_->SetArgument(this);
  owner_ = owner;
  running_ = true;
  return thread_->Start();
}

unsigned AsyncWorker::Procedure(void* worker) {
  auto* self = static_cast<AsyncWorker*>(worker);
  std::shared_ptr<void> owner;
  {
    const Base::Hold lock(self->mutex_);
    owner = std::move(self->owner_);
    self->thread_id_ = std::this_thread::get_id();
  }
  self->Run();
  return 0;
}

void AsyncWorker::Run() {
  const Base::Hold lock(mutex_);
  while (true) {
    while (!next_.has_value() && !stopping_) changed_.Wait(mutex_);
    if (!next_) break;
    const Call call = *std::exchange(next_, std::nullopt);
    const Base::Released released(mutex_);
    Do(call);
  }
  running_ = false;
  changed_.NotifyAll();
}

void AsyncWorker::Do(const Call& call) {
  bool succeeded = false;
  try {
    succeeded = call.run();
  } catch (...) {  // Like a failure.
  }
  {
    const Base::Hold lock(mutex_);
    in_progress_ = false;
  }
  try {
    call.completed(succeeded);
  } catch (...) {  // The call is over in any case.
  }
}

void AsyncWorker::Stop() noexcept {
  std::unique_ptr<OrvBase::Thread, ReleaseThread> thread;
  bool is_own = false;
  {
    const Base::Hold lock(mutex_);
    stopping_ = true;
    changed_.NotifyAll();
    is_own = running_ && thread_id_ == std::this_thread::get_id();
    while (!is_own && running_) changed_.Wait(mutex_);
    thread = std::move(thread_);
  }
  if (thread != nullptr && !is_own) WaitUntilReturned(*thread);  // The runtime lets its own go on.
}

}  // namespace OrvWorkFlow::Core::FileSystem
