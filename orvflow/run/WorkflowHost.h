// A host of workflows: loads the library, makes its global objects in the order they need, runs one workflow,
// and takes everything down again in order. Nothing of it knows the command
// line.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/IRunObserver.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "orvflow/run/DeliveryWatch.h"
#include "orvflow/run/ObserverList.h"
#include "orvflow/run/RunLoop.h"
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
  ISignalMediator& mediator() const { return *mediator_; }

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

  using Backlog = RunBacklog;
  using End = RunEnd;
  using Result = RunResult;
  using Limits = RunLimits;

  // Runs the workflow to its end on this thread, see RunLoop.
  Result Run(const Limits& limits);

  // Has Run ask `wants_stop` now. Any thread.
  void Wake() { bell_.Ring(); }

  // Is told what happens in the run, from the next load on. Before that; not owned, outlives the host.
  void AddObserver(IRunObserver& observer) { observers_.Add(observer); }

  // The node that a signal is being delivered to, else one that is busy, as "Type Instance"; "" for none. Any thread.
  std::string NodeAtWork() const;

  // What is being delivered and what failed.
  DeliveryWatch& deliveries() { return deliveries_; }

  ISignalMediator::Statistics GetStatistics() const;

 private:
  void MakeGlobals();
  void MakeStore();
  void GiveStore();
  template <class Interface>
  Interface* MakeGlobal(const char* object_name, const char* interface_name);
  void TakeDown() noexcept;

  const char* key_ = nullptr;
  HostApp* host_app_ = nullptr;
  IUtilityStore* store_ = nullptr;
  std::vector<IFactoryObjectCreator*> store_creators_;  // Owned; the store uses them to its end.
  IDictionary* dictionary_ = nullptr;                   // This and the following are the factory's.
  IWorkFlowEngine* engine_ = nullptr;
  ISignalMediator* mediator_ = nullptr;
  Bell bell_;
  DeliveryWatch deliveries_{bell_};
  ObserverList observers_;
};

}  // namespace OrvWorkFlow::Program
