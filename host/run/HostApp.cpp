#include "host/run/HostApp.h"
#include "OrvWorkFlow/Names.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "base/lock/Mutex.h"
#include "runtime/thread/ShortWait.h"

namespace OrvWorkFlow::Host {

using Clock = std::chrono::steady_clock;

// Either a delivery or a task.
struct HostApp::Call {
  IHostAppGuiThreadCallback* callback = nullptr;
  InputSignalMessage* message = nullptr;
  Task task = nullptr;
  void* context = nullptr;
};

struct HostApp::State {
  // GUI thread. Takes over all that was queued when there is nothing left of what it took over before.
  bool Take(Call* call) {
    if (taken.empty()) {
      if (!filled.load(std::memory_order_acquire)) {
        return false;
      }
      const Base::Hold lock(mutex);
      taken.swap(queue);
      filled.store(false, std::memory_order_relaxed);
    }
    *call = taken.front();
    taken.pop_front();
    delivered.store(delivered.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return true;
  }

  void WakeWaiting() {
    if (waiting > 0) {
      changed.NotifyAll();
    }
  }

  mutable Base::Mutex mutex;  // Guards what follows; a leaf, not held while a call runs.
  Base::Condition changed;
  unsigned waiting = 0;  // threads, for `changed`
  std::deque<Call> queue;
  std::atomic<bool> filled = false;         // the queue; changed under the mutex, read without it too
  std::atomic<std::uint64_t> accepted = 0;  // the same
  std::uint64_t refused = 0;
  std::uint64_t threw = 0;
  Poll poll;
  std::atomic<Clock::time_point> next_poll = Clock::now();  // Changed under the mutex, read without it too.
  bool closed = false;
  std::atomic<bool> quitting = false;  // The same.
  unsigned loops = 0;                  // that run now, nested ones included
  std::thread::id gui_thread;

  // Used by the GUI thread, and so apart from what others write.
  alignas(64) std::deque<Call> taken;
  std::atomic<std::uint64_t> delivered = 0;  // read by others
  Runtime::ShortWait short_wait;

  Condition refuses = nullptr;  // Set once, before any delivery.
  void* refusal_context = nullptr;

  Task before_delivery = nullptr;  // The same.
  void* before_delivery_context = nullptr;

  Condition await_record = nullptr;  // The same.
  NodeTold awaits_itself = nullptr;
  void* record_context = nullptr;
  std::atomic<std::uint32_t> saves = 0;

  Task restart_told = nullptr;  // Set once, before any node is there.
  void* restart_context = nullptr;
  std::atomic<bool> restart_allowed = false;
  std::atomic<bool> restart_requested = false;
  std::atomic<bool> end_requested = false;
};

namespace {

// Counts a loop in and out: the outermost one forgets the Quit that ended it.
template <class State>
class LoopScope {
 public:
  explicit LoopScope(State* state) : state_(*state) {
    const Base::Hold lock(state_.mutex);
    ++state_.loops;
    outer_thread_ = std::exchange(state_.gui_thread, std::this_thread::get_id());
  }
  ~LoopScope() {
    const Base::Hold lock(state_.mutex);
    state_.gui_thread = outer_thread_;
    if (--state_.loops == 0) {
      state_.quitting = false;
    }
  }
  LoopScope(const LoopScope&) = delete;
  LoopScope& operator=(const LoopScope&) = delete;

  bool IsQuitting() const { return state_.quitting; }

 private:
  State& state_;
  std::thread::id outer_thread_;
};

}  // namespace

HostApp::HostApp(std::unique_ptr<State> state)
    : SharedObject(ObjectNames::kHostApp, InterfaceNames::kHostApp), state_(std::move(state)) {}

HostApp::~HostApp() {
  Close();
  Call call;
  while (state_->Take(&call)) {
    Perform(call);
  }
}

HostApp* HostApp::New() noexcept {
  try {
    return new HostApp(std::make_unique<State>());
  } catch (...) {
    return nullptr;
  }
}

void* HostApp::QueryInterface(const char* interface_name) {
  const auto is = [&](const char* name) { return interface_name != nullptr && std::strcmp(interface_name, name) == 0; };
  if (is(InterfaceNames::kHostRestart)) return static_cast<IHostRestart*>(this);
  if (is(InterfaceNames::kHostEnd)) return static_cast<IHostEnd*>(this);
  if (is(InterfaceNames::kHostRecord)) return static_cast<IHostRecord*>(this);
  return SharedObject::QueryInterface(interface_name);
}

bool HostApp::RunOnGuiThread(IHostAppGuiThreadCallback* callback, InputSignalMessage* message) {
  if (state_->refuses != nullptr && state_->refuses(state_->refusal_context)) return Queue(Call{});
  const bool complete = callback != nullptr && message != nullptr;
  return Queue(complete ? Call{callback, message, nullptr, nullptr} : Call{});
}

bool HostApp::PostToGuiThread(Task task, void* context) noexcept {
  return Queue(Call{nullptr, nullptr, task, context});
}

bool HostApp::Queue(const Call& call) noexcept {
  const Base::Hold lock(state_->mutex);
  if (!state_->closed && (call.callback != nullptr || call.task != nullptr)) {
    try {
      state_->queue.push_back(call);
      state_->filled.store(true, std::memory_order_release);
      state_->accepted.store(state_->accepted.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
      state_->WakeWaiting();
      return true;
    } catch (...) {
      // Without memory the call is refused.
    }
  }
  ++state_->refused;
  return false;
}

void HostApp::Perform(const Call& call) {
  try {
    if (call.callback != nullptr) {
      if (state_->before_delivery != nullptr) state_->before_delivery(state_->before_delivery_context);
      call.callback->DeliverInputSignal(call.message);
    } else {
      call.task(call.context);
    }
  } catch (...) {
    const Base::Hold lock(state_->mutex);
    ++state_->threw;
  }
}

void HostApp::SetRefusal(Condition refuses, void* context) noexcept {
  state_->refusal_context = context;
  state_->refuses = refuses;
}

void HostApp::SetBeforeDelivery(Task function, void* context) noexcept {
  state_->before_delivery_context = context;
  state_->before_delivery = function;
}

void HostApp::SetRecord(Condition await_record, NodeTold awaits_itself, void* context) noexcept {
  state_->record_context = context;
  state_->awaits_itself = awaits_itself;
  state_->await_record = await_record;
}

void HostApp::NoteSave() noexcept { ++state_->saves; }

bool HostApp::AwaitRecord() { return state_->await_record == nullptr || state_->await_record(state_->record_context); }

std::uint32_t HostApp::CountSaves() { return state_->saves; }

void HostApp::AwaitsItself(const char* type, const char* instance) {
  if (state_->awaits_itself != nullptr) state_->awaits_itself(state_->record_context, type, instance);
}

void HostApp::SetPoll(Poll poll) noexcept {
  const Base::Hold lock(state_->mutex);
  state_->poll = poll;
  state_->next_poll = Clock::now();
}

void HostApp::PollWhenDue() {
  const Clock::time_point now = Clock::now();
  if (now < state_->next_poll.load()) {
    return;
  }
  Poll poll;
  {
    const Base::Hold lock(state_->mutex);
    poll = state_->poll;
    state_->next_poll = now + std::chrono::milliseconds(poll.milliseconds);
  }
  if (poll.function != nullptr) {
    Perform(Call{nullptr, nullptr, poll.function, poll.context});
  }
}

// Waits until something is queued, somebody quits, or it is time to poll. False when no call was taken.
bool HostApp::WaitForCall(Call* call) {
  State& state = *state_;
  const auto is_there = [&state] { return !state.taken.empty() || state.filled || state.quitting; };
  const auto count = [&state] { return state.accepted.load(std::memory_order_relaxed); };
  state.short_wait.WaitFor(is_there, count);
  if (!is_there()) {
    const auto sleep = [&] {
      const Base::Hold lock(state.mutex);
      ++state.waiting;
      const Clock::time_point time = state.next_poll.load();
      while (!is_there() && state.changed.WaitUntil(state.mutex, time)) {
      }
      --state.waiting;
    };
    state.short_wait.SleepFor(sleep, is_there, count);
  }
  return !state.quitting && state.Take(call);
}

void HostApp::RunGuiThread() { RunGuiThreadUntil(nullptr, nullptr); }

bool HostApp::RunGuiThreadUntil(Condition condition, void* context) {
  const LoopScope loop(state_.get());
  for (;;) {
    if (loop.IsQuitting()) {
      return false;
    }
    if (condition != nullptr && condition(context)) {
      return true;
    }
    PollWhenDue();
    Call call;
    if (WaitForCall(&call)) {
      Perform(call);
    }
  }
}

std::uint64_t HostApp::DeliverQueued() {
  std::uint64_t calls = 0;
  Call call;
  while (state_->Take(&call)) {
    Perform(call);
    ++calls;
  }
  return calls;
}

void HostApp::Quit() noexcept {
  const Base::Hold lock(state_->mutex);
  state_->quitting = true;
  state_->WakeWaiting();
}

void HostApp::Close() noexcept {
  const Base::Hold lock(state_->mutex);
  state_->closed = true;
}

bool HostApp::IsGuiThread() const noexcept {
  const Base::Hold lock(state_->mutex);
  return state_->gui_thread == std::this_thread::get_id();
}

HostApp::Counts HostApp::GetCounts() const noexcept {
  const Base::Hold lock(state_->mutex);
  Counts counts;
  counts.accepted = state_->accepted;
  counts.refused = state_->refused;
  counts.delivered = state_->delivered;
  counts.queued = counts.accepted - counts.delivered;
  counts.threw = state_->threw;
  return counts;
}

void HostApp::AllowRestart(bool allowed) noexcept { state_->restart_allowed = allowed; }

void HostApp::SetRestartWish(Task told, void* context) noexcept {
  state_->restart_context = context;
  state_->restart_told = told;
}

bool HostApp::RequestRestart() {
  if (!state_->restart_allowed) return false;
  state_->restart_requested = true;
  if (state_->restart_told != nullptr) state_->restart_told(state_->restart_context);
  return true;
}

bool HostApp::RequestEnd() {
  state_->end_requested = true;
  if (state_->restart_told != nullptr) state_->restart_told(state_->restart_context);
  return true;
}

bool HostApp::EndRequested() const noexcept { return state_->end_requested; }

bool HostApp::RestartRequested() const noexcept { return state_->restart_requested; }

}  // namespace OrvWorkFlow::Host
