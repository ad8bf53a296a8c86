// Threads and events without a system behind them, and runtimes that have none to give.
#pragma once

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "OrvWorkFlow/OrvBase.h"

namespace orv_test {

// A thread whose procedure runs when and where the test says. Any thread may post.
class FakeThread final : public OrvWorkFlow::OrvBase::Thread {
 public:
  bool refuse_procedure = false;
  bool refuse_start = false;
  std::function<bool()> on_wait;  // What WaitForEvent does; without it, it returns at once.
  std::function<void()> on_start;
  std::atomic<bool> started = false;

  void SetArgument(void* argument) override { argument_ = argument; }
  bool SetProcedure(Procedure procedure) override {
    procedure_ = procedure;
    return !refuse_procedure && !started;
  }
  bool Start() override {
    if (on_start) on_start();
    started = !refuse_start;
    return started;
  }
  void PostNamedEvent(const char* name) override {
    const std::scoped_lock lock(mutex_);
    posts_.emplace_back(name);
  }
  bool WaitForEvent(OrvWorkFlow::IOrvPString* /*name*/) override { return on_wait ? on_wait() : true; }
  bool IsRunning() const override { return started; }
  unsigned long GetPostCount(const char* name) const override {
    const std::scoped_lock lock(mutex_);
    return static_cast<unsigned long>(std::count(posts_.begin(), posts_.end(), name));
  }
  void Release() override {}

  // The procedure, from its start to its return.
  unsigned Run() {
    const unsigned result = procedure_(argument_);
    started = false;
    return result;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> posts_;
  Procedure procedure_ = nullptr;
  void* argument_ = nullptr;
};

// An event that never waits: its Wait answers at once and is remembered.
class FakeEvent final : public OrvWorkFlow::OrvBase::Event {
 public:
  void Reset() override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("Reset");
    set_ = false;
  }
  void Set() override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("Set");
    set_ = true;
  }
  bool Wait(unsigned milliseconds) override {
    if (on_wait) on_wait();
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("Wait " + std::to_string(milliseconds));
    return set_;
  }
  void Release() override {}

  std::function<void()> on_wait;  // Called in Wait: what happens meanwhile.

  std::vector<std::string> Calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
  bool set_ = false;
};

// For its lifetime the runtime gives these primitives: the test's own, or none.
class PrimitiveGuard {
 public:
  PrimitiveGuard(OrvWorkFlow::OrvBase::Thread* thread, OrvWorkFlow::OrvBase::Event* event) {
    thread_ = thread;
    event_ = event;
    previous_ = OrvWorkFlow::OrvBase::SetPrimitiveSource({[] { return thread_; }, nullptr, [] { return event_; }});
  }
  explicit PrimitiveGuard(OrvWorkFlow::OrvBase::PrimitiveSource source)
      : previous_(OrvWorkFlow::OrvBase::SetPrimitiveSource(source)) {}
  ~PrimitiveGuard() { OrvWorkFlow::OrvBase::SetPrimitiveSource(previous_); }
  PrimitiveGuard(const PrimitiveGuard&) = delete;
  PrimitiveGuard& operator=(const PrimitiveGuard&) = delete;

 private:
  static inline OrvWorkFlow::OrvBase::Thread* thread_ = nullptr;
  static inline OrvWorkFlow::OrvBase::Event* event_ = nullptr;
  OrvWorkFlow::OrvBase::PrimitiveSource previous_;
};

}  // namespace orv_test
