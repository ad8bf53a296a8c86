// A host of workflows: loads the library, makes its global objects in the order they need, runs one workflow until it
// is idle or has to stop, saves its state, and takes everything down again in order. Nothing of it knows the command
// line.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "runtime/HostApp.h"

namespace OrvWorkFlow::Program {

struct ObjectReleaser {
  void operator()(IBaseWorkFlowObject* object) const { object->Release(); }
};

// One at a time in a process. The thread that makes it is the GUI thread: it calls every operation and ends the host.
class WorkflowHost {
 public:
  using OwnedDictionary = std::unique_ptr<IDictionary, ObjectReleaser>;

  // Loads the library from the plug-in directories (the program's own among them) and makes the global objects. Throws
  // std::runtime_error with one line when something is missing.
  WorkflowHost();
  WorkflowHost(const WorkflowHost&) = delete;
  WorkflowHost& operator=(const WorkflowHost&) = delete;
  // Delivers what is still queued, releases the objects, unloads the libraries. Not while Run runs.
  ~WorkflowHost();

  // The workflow's dictionary.
  IDictionary& dictionary() const { return *dictionary_; }
  IWorkFlowEngine& engine() const { return *engine_; }

  // The key of enciphered dictionaries: for those that are made later and for the workflow's own, state and all. Not
  // owned; outlives the host.
  void UseKey(const char* key);

  // A dictionary of the caller's own, which must be gone before the host.
  OwnedDictionary MakeDictionary() const;

  // From now on the workflow is logged there. Not owned; outlives the host.
  void UseLogger(ILogger& logger);

  // Reads the workflow's file into the dictionary and the engine. False leaves nothing to run.
  bool LoadWorkflow(const char* file) { return engine_->LoadState(file); }
  // Reads the work nodes and utility objects from the dictionary.
  bool LoadNodes() { return mediator_->LoadState(nullptr); }

  // What was not done when a run ended.
  struct Backlog {
    std::uint32_t waiting = 0;      // signals in the engine's queue
    std::uint32_t undelivered = 0;  // signals handed over whose delivery has not ended
    std::uint32_t busy = 0;         // nodes at work outside of a signal
  };

  enum class End {
    Idle,        // nothing waiting, nothing undelivered, no node busy
    Stopped,     // `wants_stop` said so
    Restart,     // a node asked for a restart
    TimedOut,    // the time limit was reached first
    EngineDied,  // the engine's thread ended on its own
    NotStarted,  // the engine could not start its thread
  };
  struct Result {
    End end = End::NotStarted;
    Backlog backlog;     // of a saved run: what the state holds, else what there was when the end was seen
    bool saved = false;  // the state is that of the end: also of an idle workflow, whose nodes have saved theirs
  };

  struct Limits {
    // Asked about 200 times a second on a thread of its own.
    std::function<bool()> wants_stop;
    std::optional<std::chrono::duration<double>> time_limit;
    // Called on a thread of its own when a run that timed out does not come to its end within some seconds, because a
    // node does not return. It should end the process: there is no other way out of a node.
    std::function<void()> stuck;
    // Where the state is saved at an end that is Idle, Stopped or Restart; "" for nowhere: then no node may ask for a
    // restart. The file is replaced as a whole or not at all.
    std::string state_file;
    // The state is saved between two signals too, this long after the start and after each such save. The workflow
    // stands still meanwhile, at least the 200 ms of every stop.
    std::optional<std::chrono::duration<double>> checkpoint;
    // Called, on a thread of its own, when a checkpoint was not saved. The workflow goes on.
    std::function<void()> checkpoint_failed;
  };

  // Starts the workflow, delivers its signals on this thread, and stops it in order, whatever ended it. When it returns
  // the engine's thread has ended and all nodes have been asked to stop.
  //
  // A state is that between two signals: what was handed over for delivery has been delivered before, and what that
  // fired is in the queue; a node that was at work outside of a signal has stopped and has its reboot signal in the
  // state. With a node that does not stop nothing is saved.
  Result Run(const Limits& limits);

  ISignalMediator::Statistics GetStatistics() const;

 private:
  class Watchdog;

  void MakeGlobals();
  void MakeStore();
  void GiveStore();
  template <class Interface>
  Interface* MakeGlobal(const char* object_name, const char* interface_name);
  void TakeDown() noexcept;

  void StopAtEnd(const Limits& limits, Result& result);
  std::optional<End> FindEnd(const Limits& limits, std::chrono::steady_clock::time_point start) const;
  Result WatchUntilEnd(const Limits& limits);
  std::optional<Result> SaveCheckpoint(const Limits& limits, std::chrono::steady_clock::time_point start);
  bool StopAndSave(const std::string& state_file);
  bool StopBetweenSignals();
  bool WaitUntilAtRest() const;
  bool IsIdle() const;
  Backlog GetBacklog() const;

  const char* key_ = nullptr;
  HostApp* host_app_ = nullptr;
  IUtilityStore* store_ = nullptr;
  std::vector<IFactoryObjectCreator*> store_creators_;  // Owned; the store uses them to its end.
  IDictionary* dictionary_ = nullptr;                   // This and the following are the factory's.
  IWorkFlowEngine* engine_ = nullptr;
  ISignalMediator* mediator_ = nullptr;
};

}  // namespace OrvWorkFlow::Program
