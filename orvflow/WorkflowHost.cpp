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
  explicit Watchdog(std::function<void()> bark) : thread_([this, bark = std::move(bark)] { Wait(bark); }) {}
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      calm_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }

 private:
  void Wait(const std::function<void()>& bark) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, kStopPatience, [this] { return calm_; })) bark();
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

WorkflowHost::OwnedDictionary WorkflowHost::MakeDictionary() const {
  OwnedDictionary dictionary(
      AskFor<IDictionary>(WorkFlowFactory::CreateNewObject("Dictionary"), "Dictionary", "IDictionary"));
  dictionary->SetUtilityStore(store_);
  return dictionary;
}

void WorkflowHost::UseLogger(ILogger& logger) { WorkFlowFactory::AddGlobalObject("Logger", &logger, false); }

WorkflowHost::Result WorkflowHost::Run(const Limits& limits) {
  if (!engine_->StartFlowing()) return {End::NotStarted, GetBacklog()};
  Result result;
  std::optional<Watchdog> watchdog;
  // The stop has a thread of its own: while it waits for the nodes, this one goes on delivering.
  std::thread watcher([&] {
    result = WatchUntilEnd(limits);
    if (result.end == End::TimedOut && limits.stuck) watchdog.emplace(limits.stuck);
    engine_->StopFlowing();
    host_app_->Quit();
  });
  host_app_->RunGuiThread();
  watcher.join();
  host_app_->DeliverQueued();
  return result;
}

WorkflowHost::Result WorkflowHost::WatchUntilEnd(const Limits& limits) const {
  const Clock::time_point start = Clock::now();
  for (;;) {
    if (limits.wants_stop && limits.wants_stop()) return {End::Stopped, GetBacklog()};
    if (IsIdle()) return {End::Idle, GetBacklog()};
    IWorkFlowEngine::QueueState queue;
    if (engine_->GetQueueState(&queue) && !queue.running) return {End::EngineDied, GetBacklog()};
    if (limits.time_limit && Clock::now() - start >= *limits.time_limit) return {End::TimedOut, GetBacklog()};
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
