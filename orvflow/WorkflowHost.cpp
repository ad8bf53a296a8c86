#include "orvflow/WorkflowHost.h"

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow::Program {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kLibrary[] = "CoreObjects";
constexpr std::chrono::milliseconds kWatchInterval{5};
// More than the engine's own wait for its thread.
constexpr std::chrono::seconds kStopPatience{6};
// For a node that was asked to stop and is still at work.
constexpr std::chrono::seconds kNodePatience{3};

// What the utility store makes afresh for each asker. The engine and the mediator are not among them: there is one of
// each.
constexpr const char* kStoreObjects[] = {"Dictionary", "Encryption", "FileSystem", "RegExp"};

[[noreturn]] void FailForLack(const char* object_name) {
  throw std::runtime_error(std::string(kLibrary) + ": the library has no usable " + object_name +
                           "; install the program again");
}

template <class Interface>
Interface* AskFor(IBaseWorkFlowObject* object, const char* object_name, const char* interface_name) {
  auto* face = object == nullptr ? nullptr : static_cast<Interface*>(object->QueryInterface(interface_name));
  if (face == nullptr) FailForLack(object_name);
  return face;
}

}  // namespace

// Calls a function on a thread of its own unless it is destroyed before the time is over.
class WorkflowHost::Watchdog {
 public:
  Watchdog(std::chrono::duration<double> patience, std::function<void()> bark)
      : thread_([this, patience, bark = std::move(bark)] { Wait(patience, bark); }) {}
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      calm_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }

 private:
  void Wait(std::chrono::duration<double> patience, const std::function<void()>& bark) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, patience, [this] { return calm_; })) bark();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool calm_ = false;
  std::thread thread_;  // Last, so that it finds the others made.
};

WorkflowHost::WorkflowHost() {
  if (!WorkFlowFactory::LoadSharedLibrary(kLibrary)) throw std::runtime_error(WorkFlowFactory::LastLoadError());
  try {
    MakeGlobals();
    MakeStore();
    GiveStore();
  } catch (...) {
    TakeDown();
    throw;
  }
}

WorkflowHost::~WorkflowHost() { TakeDown(); }

template <class Interface>
Interface* WorkflowHost::MakeGlobal(const char* object_name, const char* interface_name) {
  return AskFor<Interface>(WorkFlowFactory::CreateNewGlobalObject(object_name), object_name, interface_name);
}

void WorkflowHost::MakeGlobals() {
  dictionary_ = MakeGlobal<IDictionary>("Dictionary", "IDictionary");
  MakeGlobal<void>("FileSystem", "IFileSystemA");
  engine_ = MakeGlobal<IWorkFlowEngine>("WorkFlowEngine", "IWorkFlowEngine");
  mediator_ = MakeGlobal<ISignalMediator>("SignalMediator", "ISignalMediator");
  host_app_ = HostApp::New();
  if (host_app_ == nullptr) throw std::bad_alloc();
  WorkFlowFactory::AddGlobalObject("HostApp", host_app_, false);
}

void WorkflowHost::MakeStore() {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject("UtilityStore");
  store_ = AskFor<IUtilityStore>(object, "UtilityStore", "IUtilityStore");
  for (const char* name : kStoreObjects) {
    IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(name);
    if (creator == nullptr) FailForLack(name);
    store_creators_.push_back(creator);
    store_->AddUtilityObjectCreator(creator);
  }
}

void WorkflowHost::GiveStore() {
  for (const char* name : {"Dictionary", "FileSystem", "WorkFlowEngine", "SignalMediator", "HostApp"}) {
    if (!WorkFlowFactory::GetGlobalObj(name)->SetUtilityStore(store_)) FailForLack(name);
  }
}

void WorkflowHost::TakeDown() noexcept {
  if (host_app_ != nullptr) {
    host_app_->Close();
    host_app_->DeliverQueued();
  }
  WorkFlowFactory::ReleaseGlobalObjects();
  if (store_ != nullptr) store_->Release();
  for (IFactoryObjectCreator* const creator : store_creators_) creator->Destroy();
  if (host_app_ != nullptr) host_app_->Release();
  WorkFlowFactory::UnloadSharedLibraries();
}

void WorkflowHost::UseKey(const char* key) {
  key_ = key;
  engine_->SetEncryptionKey(key);
}

WorkflowHost::OwnedDictionary WorkflowHost::MakeDictionary() const {
  OwnedDictionary dictionary(
      AskFor<IDictionary>(WorkFlowFactory::CreateNewObject("Dictionary"), "Dictionary", "IDictionary"));
  dictionary->SetUtilityStore(store_);
  if (key_ != nullptr) dictionary->SetEncryptionKey(key_);
  return dictionary;
}

void WorkflowHost::UseLogger(ILogger& logger) { WorkFlowFactory::AddGlobalObject("Logger", &logger, false); }

WorkflowHost::Result WorkflowHost::Run(const Limits& limits) {
  host_app_->AllowRestart(!limits.state_file.empty());
  if (!engine_->StartFlowing()) return {End::NotStarted, GetBacklog()};
  Result result;
  std::optional<Watchdog> watchdog;  // Until the last delivery has ended.
  // The stop has a thread of its own: while it waits for the nodes, this one goes on delivering.
  std::thread watcher([&] {
    result = WatchUntilEnd(limits);
    if (result.end == End::TimedOut && limits.stuck) watchdog.emplace(kStopPatience, limits.stuck);
    StopAtEnd(limits, result);
    host_app_->Quit();
  });
  host_app_->RunGuiThread();
  watcher.join();
  host_app_->DeliverQueued();
  return result;
}

void WorkflowHost::StopAtEnd(const Limits& limits, Result& result) {
  IWorkFlowEngine::QueueState queue;
  engine_->GetQueueState(&queue);
  if (result.end == End::Restart && !queue.running) return;  // A checkpoint has stopped everything.
  const bool has_state = result.end == End::Idle || result.end == End::Stopped || result.end == End::Restart;
  if (!has_state || limits.state_file.empty()) {
    engine_->StopFlowing();
    return;
  }
  result.saved = StopAndSave(limits.state_file);
  if (result.saved) result.backlog = GetBacklog();
}

WorkflowHost::Result WorkflowHost::WatchUntilEnd(const Limits& limits) {
  const Clock::time_point start = Clock::now();
  Clock::time_point last_save = start;
  for (;;) {
    if (const std::optional<End> end = FindEnd(limits, start)) return {*end, GetBacklog()};
    if (limits.checkpoint && Clock::now() - last_save >= *limits.checkpoint) {
      if (const std::optional<Result> result = SaveCheckpoint(limits, start)) return *result;
      last_save = Clock::now();
    }
    std::this_thread::sleep_for(kWatchInterval);
  }
}

std::optional<WorkflowHost::End> WorkflowHost::FindEnd(const Limits& limits, Clock::time_point start) const {
  if (host_app_->RestartRequested()) return End::Restart;
  if (limits.wants_stop && limits.wants_stop()) return End::Stopped;
  // Whoever asks for a restart may be the last to do anything: it is asked for before the workflow is idle.
  if (IsIdle()) return host_app_->RestartRequested() ? End::Restart : End::Idle;
  IWorkFlowEngine::QueueState queue;
  if (engine_->GetQueueState(&queue) && !queue.running) return End::EngineDied;
  if (limits.time_limit && Clock::now() - start >= *limits.time_limit) return End::TimedOut;
  return std::nullopt;
}

// Saves and lets the workflow go on: its start fires the reboot signals of the nodes that were stopped. A node that
// asked for a restart meanwhile would take that for the restart, so the workflow then stays stopped. Answers the result
// when the run is over.
std::optional<WorkflowHost::Result> WorkflowHost::SaveCheckpoint(const Limits& limits, Clock::time_point start) {
  std::optional<Watchdog> watchdog;
  if (limits.time_limit && limits.stuck) {
    watchdog.emplace(*limits.time_limit - (Clock::now() - start) + kStopPatience, limits.stuck);
  }
  const bool saved = StopAndSave(limits.state_file);
  if (!saved && limits.checkpoint_failed) limits.checkpoint_failed();
  if (host_app_->RestartRequested()) return Result{End::Restart, GetBacklog(), saved};
  if (!engine_->StartFlowing()) return Result{End::EngineDied, GetBacklog(), false};
  return std::nullopt;
}

bool WorkflowHost::StopAndSave(const std::string& state_file) {
  return StopBetweenSignals() && engine_->SaveState(state_file.c_str());
}

// Signals that were handed over before the stop are still being delivered when it returns. One of them may have made a
// node begin its work after all nodes were asked to stop; starting and stopping again asks it too, and the reboot
// signals that were recorded the first time are fired and recorded anew.
bool WorkflowHost::StopBetweenSignals() {
  engine_->StopFlowing();
  if (WaitUntilAtRest()) return true;
  if (!engine_->StartFlowing()) return false;
  engine_->StopFlowing();
  return WaitUntilAtRest();
}

// A delivery is waited for without limit: there is no way out of a node. False when a node stays busy.
bool WorkflowHost::WaitUntilAtRest() const {
  std::optional<Clock::time_point> delivered;
  for (;;) {
    const ISignalMediator::Statistics statistics = GetStatistics();
    if (statistics.sent == statistics.finished) {
      if (statistics.busy == 0) return true;
      if (!delivered) delivered = Clock::now();
      if (Clock::now() - *delivered >= kNodePatience) return false;
    }
    std::this_thread::sleep_for(kWatchInterval);
  }
}

// A signal is either waiting, or in the engine's hand, or sent and not finished. It goes from one to the next in this
// order, and only a node that is in a delivery, or busy, makes new ones. So when everything sent was finished before
// the queue was seen empty and at rest, and nothing was sent meanwhile, then nothing was on the way.
bool WorkflowHost::IsIdle() const {
  const ISignalMediator::Statistics before = GetStatistics();
  if (before.sent != before.finished || before.busy != 0) return false;
  IWorkFlowEngine::QueueState queue;
  if (!engine_->GetQueueState(&queue) || queue.waiting != 0 || queue.firing) return false;
  const ISignalMediator::Statistics after = GetStatistics();
  return after.sent == before.sent && after.finished == before.finished && after.busy == 0;
}

WorkflowHost::Backlog WorkflowHost::GetBacklog() const {
  IWorkFlowEngine::QueueState queue;
  engine_->GetQueueState(&queue);
  const ISignalMediator::Statistics statistics = GetStatistics();
  return {queue.waiting, statistics.sent - statistics.finished, statistics.busy};
}

ISignalMediator::Statistics WorkflowHost::GetStatistics() const {
  ISignalMediator::Statistics statistics;
  mediator_->GetStatistics(&statistics);
  return statistics;
}

}  // namespace OrvWorkFlow::Program
