// A mediator that remembers what it was asked, in place of one that runs nodes. It refuses what the engine does not
// call.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include "tests/fakes/RefusingMediator.h"

namespace orv_test {

// Any thread, hooks apart: set them before the engine runs. Lives on the stack of a test.
class FakeMediator final : public RefusingMediator<FakeMediator> {
 public:
  // Called in FireInputSignal on the pump's thread, before the call is counted as done. May throw.
  std::function<void(const std::string& type, const std::string& instance, const std::string& signal)> on_fire;
  std::function<void()> on_reboot_signals;
  std::function<void()> on_stop_all;
  std::function<void()> on_save;
  std::function<void()> on_delete_temporary_data;
  std::function<bool(OrvWorkFlow::IDictionary& flow)> on_absorb;  // in place of answering true
  std::vector<std::string> absorbing_nodes;                       // definition paths
  bool keep_record = true;                                        // of the fired signals

  bool FireInputSignal(const char* type, const char* instance, const char* signal) override {
    if (on_fire) on_fire(type, instance, signal);
    const std::scoped_lock lock(mutex_);
    if (keep_record) fired_.push_back(std::string(type) + "," + instance + "," + signal);
    ++fired_count_;
    changed_.notify_all();
    return true;
  }
  bool StopAllWorkNodes() override {
    ++stops;
    if (on_stop_all) on_stop_all();
    return true;
  }
  bool FireRebootSignals() override {
    ++reboots;
    if (on_reboot_signals) on_reboot_signals();
    return true;
  }
  bool DeleteTemporaryData() override {
    ++deletions;
    if (on_delete_temporary_data) on_delete_temporary_data();
    return delete_answer;
  }
  bool SaveState(const char* path) override {
    saved_paths.emplace_back(path);
    if (on_save) on_save();
    return true;
  }
  bool LoadState(const char* /*path*/) override { return ++loads > 0; }
  bool KeepFromDeletion(const char* path) override {
    kept.emplace_back(path);
    return true;
  }
  bool Absorb(OrvWorkFlow::IDictionary* flow) override {
    ++absorbs;
    return !on_absorb || on_absorb(*flow);
  }
  bool GetInstantiatedWorknodesThatCallAbsorb(OrvWorkFlow::IOrvPStringList* paths) override {
    for (const std::string& path : absorbing_nodes) paths->Add(path.data(), path.size());
    return true;
  }
  void SetEncryptionKey(const char* key) override { keys.emplace_back(key); }
  void Release() override {}

  // "type,instance,signal" of each input signal, in order.
  std::vector<std::string> Fired() const {
    const std::scoped_lock lock(mutex_);
    return fired_;
  }
  std::size_t FiredCount() const {
    const std::scoped_lock lock(mutex_);
    return fired_count_;
  }
  bool WaitForFired(std::size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(60), [&] { return fired_count_ >= count; });
  }

  std::atomic<int> stops = 0;
  std::atomic<int> reboots = 0;
  std::atomic<int> deletions = 0;
  std::atomic<int> absorbs = 0;
  int loads = 0;
  bool delete_answer = true;
  std::vector<std::string> saved_paths;
  std::vector<std::string> keys;
  std::vector<std::string> kept;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<std::string> fired_;
  std::size_t fired_count_ = 0;
};

// The node of "N", "n": it does not return from its signal "block" until it is told to.
class BlockingNode {
 public:
  explicit BlockingNode(FakeMediator& mediator) {
    mediator.on_fire = [this](const std::string& /*type*/, const std::string& /*instance*/, const std::string& signal) {
      if (signal != "block") return;
      entered_.set_value();
      may_leave_.wait();
    };
  }

  void WaitUntilEntered() { entered_.get_future().wait(); }
  void Leave() { leave_.set_value(); }

 private:
  std::promise<void> entered_;
  std::promise<void> leave_;
  std::future<void> may_leave_ = leave_.get_future();
};

}  // namespace orv_test
