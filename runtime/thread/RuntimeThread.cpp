#include "runtime/thread/RuntimeThread.h"

#include <string_view>
#include <utility>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Runtime {

void RuntimeThread::SetArgument(void* argument) {
  const Base::Hold lock(mutex_);
  if (!running_) {
    argument_ = argument;
  }
}

bool RuntimeThread::SetProcedure(Procedure procedure) {
  const Base::Hold lock(mutex_);
  if (procedure == nullptr || running_) {
    return false;
  }
  procedure_ = procedure;
  return true;
}

bool RuntimeThread::Start() {
  const Base::Hold start_lock(start_mutex_);
  {
    const Base::Hold lock(mutex_);
    if (procedure_ == nullptr || running_) {
      return false;
    }
    running_ = true;
  }
  // The procedure before has returned: its system thread is at its very end.
  if (system_thread_.joinable()) {
    system_thread_.join();
  }
  if (StartSystemThread()) {
    return true;
  }
  const Base::Hold lock(mutex_);
  running_ = false;
  return false;
}

bool RuntimeThread::StartSystemThread() {
  Procedure procedure = nullptr;
  void* argument = nullptr;
  {
    const Base::Hold lock(mutex_);
    procedure = procedure_;
    argument = argument_;
  }
  shares_.fetch_add(1, std::memory_order_relaxed);
  try {
    system_thread_ = std::thread([this, procedure, argument] { Run(procedure, argument); });
    return true;
  } catch (...) {
    shares_.fetch_sub(1, std::memory_order_relaxed);  // The caller holds the other share.
    return false;
  }
}

void RuntimeThread::Run(Procedure procedure, void* argument) noexcept {
  try {
    procedure(argument);
  } catch (...) {
    // Nobody is left to hear of it, and a thread's entry must not be left by an exception.
  }
  {
    const Base::Hold lock(mutex_);
    running_ = false;
  }
  DropShare();
}

void RuntimeThread::PostNamedEvent(const char* name) {
  if (name == nullptr) {
    return;
  }
  NamedEvents::Event* event = events_.Find(name);
  if (event != nullptr && events_.PostUnlessAsleep(event)) {
    return;
  }
  const Base::Hold lock(mutex_);
  if (event == nullptr) {
    event = events_.FindOrAdd(name);
  }
  if (event != nullptr) {
    events_.Post(event);
  } else {
    events_.PostNameless();
  }
  posted_.NotifyOne();
}

bool RuntimeThread::WaitForEvent(IOrvPString* name) {
  NamedEvents::Event* event = events_.FindFirst();
  if (event == nullptr) {
    WaitUntilPosted();
    event = events_.FindFirst();
  }
  events_.Take(event);
  if (name == nullptr) {
    return true;
  }
  const std::string_view taken = event != nullptr ? event->name() : std::string_view();  // Never forgotten.
  return name->Assign(taken.data(), taken.size());
}

void RuntimeThread::WaitUntilPosted() {
  const auto is_there = [this] { return events_.HasWaiting(); };
  if (is_there()) {
    return;
  }
  const auto count = [this] { return events_.PostsOfFirst(); };
  short_wait_.WaitFor(is_there, count);
  if (!is_there()) {
    short_wait_.SleepFor([&] { Sleep(); }, is_there, count);
  }
}

void RuntimeThread::Sleep() {
  const Base::Hold lock(mutex_);
  events_.SetAsleep(true);
  while (!events_.HasWaiting()) posted_.Wait(mutex_);
  events_.SetAsleep(false);
}

bool RuntimeThread::IsRunning() const {
  const Base::Hold lock(mutex_);
  return running_;
}

unsigned long RuntimeThread::GetPostCount(const char* name) const {
  if (name == nullptr) {
    return 0;
  }
  const NamedEvents::Event* const event = events_.Find(name);
  return event != nullptr ? event->posts() : 0;
}

void RuntimeThread::Release() {
  std::thread system_thread;
  bool running = false;
  {
    const Base::Hold start_lock(start_mutex_);
    system_thread = std::move(system_thread_);
    const Base::Hold lock(mutex_);
    running = running_;
  }
  if (system_thread.joinable()) {
    if (running || system_thread.get_id() == std::this_thread::get_id()) {
      system_thread.detach();
    } else {
      system_thread.join();
    }
  }
  DropShare();
}

void RuntimeThread::DropShare() noexcept {
  if (shares_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete this;
  }
}

}  // namespace OrvWorkFlow::Runtime
