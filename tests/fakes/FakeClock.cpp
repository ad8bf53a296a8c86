#include "tests/fakes/FakeClock.h"

#include <mutex>
#include <numeric>
#include <stdexcept>

#include "OrvWorkFlow/OrvBase.h"

namespace orv_test {

namespace {

// The pause function has no context, so the clock's content is the process's.
struct ClockState {
  std::mutex mutex;
  bool in_use = false;
  std::vector<unsigned> pauses;
  FakeClock::PauseHook hook = nullptr;
  void* context = nullptr;
};

ClockState& GetState() {
  static ClockState state;
  return state;
}

void CountPause(unsigned milliseconds) {
  FakeClock::PauseHook hook = nullptr;
  void* context = nullptr;
  {
    ClockState& state = GetState();
    const std::lock_guard lock(state.mutex);
    state.pauses.push_back(milliseconds);
    hook = state.hook;
    context = state.context;
  }
  if (hook != nullptr) {
    hook(milliseconds, context);
  }
}

}  // namespace

FakeClock::FakeClock() {
  ClockState& state = GetState();
  const std::lock_guard lock(state.mutex);
  if (state.in_use) {
    throw std::logic_error("there is a FakeClock already");
  }
  state.in_use = true;
  state.pauses.clear();
  OrvWorkFlow::OrvBase::SetSleepFunction(&CountPause);
}

FakeClock::~FakeClock() {
  OrvWorkFlow::OrvBase::SetSleepFunction(nullptr);
  ClockState& state = GetState();
  const std::lock_guard lock(state.mutex);
  state.in_use = false;
  state.hook = nullptr;
}

std::vector<unsigned> FakeClock::GetPauses() const {
  ClockState& state = GetState();
  const std::lock_guard lock(state.mutex);
  return state.pauses;
}

unsigned long FakeClock::GetTotalMilliseconds() const {
  const std::vector<unsigned> pauses = GetPauses();
  return std::accumulate(pauses.begin(), pauses.end(), 0UL);
}

void FakeClock::SetPauseHook(PauseHook hook, void* context) {
  ClockState& state = GetState();
  const std::lock_guard lock(state.mutex);
  state.hook = hook;
  state.context = context;
}

}  // namespace orv_test
