// A host of workflows: loads the library, makes its global objects in the order they need, runs one workflow until it
// is idle or has to stop, and takes everything down again in order. Nothing of it knows the command line.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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
    TimedOut,    // the time limit was reached first
    EngineDied,  // the engine's thread ended on its own
    NotStarted,  // the engine could not start its thread
  };
  struct Result {
    End end = End::NotStarted;
    Backlog backlog;
  };

  struct Limits {
    // Asked about 200 times a second on a thread of its own.
    std::function<bool()> wants_stop;
    std::optional<std::chrono::duration<double>> time_limit;
    // Called on a thread of its own when a run that timed out does not come to its end within some seconds, because a
    // node does not return. It should end the process: there is no other way out of a node.
    std::function<void()> stuck;
  };

  // Starts the workflow, delivers its signals on this thread, and stops it in order, whatever ended it. When it returns
  // the engine's thread has ended and all nodes have been asked to stop.
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

  Result WatchUntilEnd(const Limits& limits) const;
  bool IsIdle() const;
  Backlog GetBacklog() const;

  HostApp* host_app_ = nullptr;
  IUtilityStore* store_ = nullptr;
  std::vector<IFactoryObjectCreator*> store_creators_;  // Owned; the store uses them to its end.
  IDictionary* dictionary_ = nullptr;                   // This and the following are the factory's.
  IWorkFlowEngine* engine_ = nullptr;
  ISignalMediator* mediator_ = nullptr;
};

}  // namespace OrvWorkFlow::Program
