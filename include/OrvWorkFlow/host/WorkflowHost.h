// A workflow in a process: what a program embeds to load, run, watch, stop, save and continue one.
//
//   Host::WorkflowHost host;
//   Host::StateFile state("flow.xml", "");           // beside the flow; locked as long as it lives
//   host.UseState(state);
//   host.Load("flow.xml");                           // begins, or continues from the state
//   const Host::RunResult result = host.Run();       // returns at the end, or after RequestStop on another thread
//
// Link OrvWorkFlow::Host; docs/embedding.md goes through a whole program. Compiled into the program that uses it.
//
// Threads: all operations are called on one thread, which delivers the signals to the nodes while it is in Run, unless
// an operation says "any thread". Failures: operations throw HostError, and std::bad_alloc for lack of memory; after
// one that throws, the host is as it was before. Not promised: that a node which does not return can be ended.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/IRunObserver.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/host/HostError.h"
#include "OrvWorkFlow/host/HostedRun.h"
#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/StateRecord.h"

namespace OrvWorkFlow::Host {

struct ObjectReleaser {
  void operator()(IBaseWorkFlowObject* object) const { object->Release(); }
};

// One at a time in a process, for one workflow; another one may be made after its end.
class WorkflowHost {
 public:
  using OwnedDictionary = std::unique_ptr<IDictionary, ObjectReleaser>;

  // Loads the library and makes its global objects. Plug-in libraries are looked for in the folder of the program, that
  // of the runtime library, that of the installed plug-ins, and then in those given, for the rest of the process.
  // Throws HostError: Misplaced for a folder that is not there, PluginBroken when the library is missing or of another
  // version, InUse when there is a host already.
  explicit WorkflowHost(const std::vector<std::string>& plugin_directories = {});
  WorkflowHost(const WorkflowHost&) = delete;
  WorkflowHost& operator=(const WorkflowHost&) = delete;
  // Delivers what is still queued, releases the objects, unloads all libraries. Not while Run runs.
  ~WorkflowHost();

  // --- Before Load. What is given is not owned and outlives the host, unless an operation says otherwise ---

  // The key of enciphered dictionaries: of the workflow's file and its state, and of those that MakeDictionary makes
  // from now on. The host reads it where it stands. It hides texts from a glance, and does not protect them.
  void UseKey(const char* key);

  // Where the state is saved, and continued from. A state that exists and cannot be written is refused by Load.
  void UseState(StateFile& state);

  // Keeps a record of the run beside the state in use, from which Load goes on after a kill. The workflow's dictionary
  // has no place for another observer then.
  void UseRecord(StateRecord& record);

  // Gets the lines of the log: each signal on its way, and what nodes write to it.
  void UseLogger(ILogger& logger);
  // Appends them to a file, which is made when it is not there. Instead of UseLogger.
  void LogTo(const std::string& file);

  // Is told what happens in the run as it happens, on the terms of IRunObserver.h. In the order of the calls.
  void AddObserver(IRunObserver& observer);

  // What the library shows in message boxes (a node that failed, a library that is missing) goes to `show` instead, as
  // long as the host lives. Without it a box waits for a user on Windows, and for Enter on a Linux terminal. Any
  // thread, with locks of the library held: it only records or prints.
  void ShowMessagesWith(std::function<void(const std::string& text, const std::string& caption)> show);

  // Gets what a run has to say besides its result: a state of a flow that has changed since, a checkpoint that was not
  // saved, a signal that was set aside because the process died with it three times running. Any thread.
  void TellWith(LineReceiver tell);

  // --- The workflow ---

  // Reads the flow, or the state in use when one is there or a record says what it is, with all plug-in libraries that
  // it names. Finds what is wrong before anything of the workflow is touched: the host can then load another. Once,
  // until it has succeeded. Throws HostError: Failed when a file cannot be read, Damaged when it is no dictionary or
  // not of this workflow, PluginBroken, InUse when a process has a file open for writing.
  void Load(const std::string& flow);
  // Whether Load has continued from a state.
  bool IsContinued() const;

  // Runs the workflow to its end on this thread. Then the engine's thread has ended and all nodes have been asked to
  // stop. With a state file the state is saved at an end that leaves something to do, and removed when nothing is left.
  //
  // A saved state is that between two signals: what was handed over for delivery has been delivered before, and what
  // that fired is in the queue; a node that was at work outside of a signal has stopped and has its reboot signal in
  // the state. With a node that does not stop nothing is saved.
  RunResult Run(const RunSettings& settings = {});

  // Has the run stop at the end of the delivery that is at work; one that has not begun, at once. Any thread, also in
  // an observer and in a node; not in a signal handler.
  void RequestStop() noexcept;
  // Has the run save its state soon, and go on. Any thread. Without a state file nothing happens.
  void RequestSave() noexcept;

  // The node that a signal is being delivered to, else one that is busy, as "Type Instance"; "" for none. Any thread.
  std::string NodeAtWork() const;
  // Any thread.
  ISignalMediator::Statistics GetStatistics() const;

  // --- The library's objects, as long as the host lives; their headers say what they do. Any thread ---

  // The workflow's dictionary.
  IDictionary& dictionary() const;
  IWorkFlowEngine& engine() const;
  ISignalMediator& mediator() const;
  // A dictionary of the caller's own, which is gone before the host.
  OwnedDictionary MakeDictionary() const;

  // The inside, for hosts in this tree; not installed.
  class Parts;
  Parts& parts() { return *parts_; }

 private:
  std::unique_ptr<Parts> parts_;
};

}  // namespace OrvWorkFlow::Host
