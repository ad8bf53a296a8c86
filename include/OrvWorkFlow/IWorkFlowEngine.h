// Maps output signals to input signals, queues them and pumps the queue on a thread of its own.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

class IRunObserver;
class IRunReport;

// "WorkFlowEngine", one global object a process. Any thread, unless an operation says otherwise.
//
// Base operations: LoadState(file) loads the workflow's dictionary file into the global dictionary and restores queue
// and start signal; SaveState(file) writes them back. Load and save while the workflow is stopped. SetWriteDirectory
// names the directory of the engine's marker file. SetEncryptionKey also reaches the mediator. A null store gives the
// last error "Invalid parameter.", a second one "The UtilityStore has already been set."
class IWorkFlowEngine : public IBaseWorkFlowObject {
 public:
  // Stores a mapping under the sender, at the lowest free number. The two arguments `ignored_1` and `ignored_2` are
  // accepted and ignored. False when a name is null or the dictionary refuses (names of letters, digits, "_" and "-"
  // only). A comma in a receiver name makes a mapping that cannot be read back.
  virtual bool AddSignalMapping(const char* sender_type, const char* sender_instance, const char* outgoing_signal,
                                const char* ignored_1, const char* ignored_2, const char* receiver_type,
                                const char* receiver_instance, const char* incoming_signal) = 0;

  // Removes the first mapping that is equal. False when there is none.
  virtual bool RemoveSignalMapping(const char* sender_type, const char* sender_instance, const char* outgoing_signal,
                                   const char* ignored_1, const char* ignored_2, const char* receiver_type,
                                   const char* receiver_instance, const char* incoming_signal) = 0;

  // Not available: shows a message box that says so and returns false.
  virtual bool GetSignalMappings(const char* sender_type, const char* sender_instance, const char* outgoing_signal,
                                 IOrvPStringList* mappings) = 0;

  // Removes the mappings of all instances of all work-node types. True.
  virtual bool RemoveAllSignalMappings() = 0;

  // Queues one entry for each receiver that the signal maps to and wakes the pump. False when the sender has no
  // mappings key, or a mapping cannot be read or is not of the form "type,instance,signal"; entries queued before that
  // stay queued.
  virtual bool OutputSignal(const char* sender_type, const char* sender_instance, const char* outgoing_signal) = 0;

  // The signal that is queued when flowing starts; a null argument empties its part. True.
  virtual bool SetStartSignal(const char* receiver_type, const char* receiver_instance,
                              const char* incoming_signal) = 0;

  // Fires the reboot signals, queues the start signal and starts the pump. False when the pump runs already or cannot
  // be started.
  virtual bool StartFlowing() = 0;

  // Stops the pump between two signals (waiting for it at most 5000 ms), then the work nodes. Entries stay queued.
  // Always true. Not on the host's GUI thread and not from within a node.
  virtual bool StopFlowing() = 0;

  // Has the mediator delete the write directories of all workflows.
  virtual bool DeleteTemporaryData() = 0;

  // Takes another workflow, described by a dictionary file of its own, into the running one: its utility objects, work
  // nodes, mappings and directories join those of the global dictionary, the absorb tree shows it below the workflow
  // that absorbed it, and a work node of type "FindNewComponentsFromAbsorbedFlow" (see IComponentFinder.h) is shown the
  // file. With `queue_start_signal` its start signal, if it has one, is queued. A workflow of a name that was absorbed
  // before is not taken in again: only the tree and the start signal are seen to. False, with the workflow as it was
  // and the reason as the last error, when an object is missing, the file cannot be loaded or names no workflow.
  // Any thread, from within a node too, running or stopped.
  virtual bool AbsorbFlow(const char* file_path, bool queue_start_signal) = 0;

  // Assigns the platform path of the definition file of a workflow, by its name; false when it is not known. Never
  // waits for the pump or a node, so that path translation may be used from anywhere.
  virtual bool GetWorkFlowFilePath(const char* workflow_name, IOrvPString* path) = 0;

  // For a host that wants to know whether the workflow is idle: entries waiting, and whether the pump is in the middle
  // of a pass. Never waits for a node.
  struct QueueState {
    std::uint32_t waiting = 0;
    bool firing = false;
    bool running = false;
  };
  virtual bool GetQueueState(QueueState* state) = 0;

  // For a host that loads a saved state: the file that defines the workflow, from now on the answer of
  // GetWorkFlowFilePath for the loaded workflow's name. LoadState makes it the file that was loaded. False for null,
  // "", and before the first load.
  virtual bool SetWorkFlowFilePath(const char* path) = 0;

  // Registers the object that is told what happens in the run (see IRunObserver.h); it replaces the one before, and
  // null removes that. Not owned. Waits for a node that runs on the pump's thread; not from within a node or the
  // observer. An observer may go once it was removed and no call on this object or the mediator, on any thread, has
  // begun before its removal and still runs: the workflow is stopped then and the host has delivered what it queued.
  virtual bool SetRunObserver(IRunObserver* observer) = 0;

  // The pump hands no further signal over while the host application has so many of this queue's whose delivery has
  // not ended; 0, as at first, is no limit. So a stop waits for that many deliveries at most, and what was not handed
  // over is in the queue and saved with it. The pump does not wait in a pass: it ends the pass, and the end of a
  // delivery wakes it, or a stop. Signals fired past the queue and what was handed over without a limit do not count; a
  // signal that the host application drops counts for ever. Any thread, any time. True.
  virtual bool SetHandOverLimit(std::uint32_t limit) = 0;

  // Shows the first `most` entries of the queue to `report`. What waits in front of the queue, because another thread
  // had it, is not shown. Never waits for a node; any thread. False without an observer: only for one is a list kept
  // that can be looked at any time.
  virtual bool ReportQueue(IRunReport* report, std::uint32_t most) = 0;

  // For a host that continues a run, or decides itself what a run that was cut off has left: with `keep` LoadState
  // deletes nothing when it finds the marker of such a run, which stays. Without, as it is at first, LoadState then has
  // the mediator delete the write directories; one beside the workflow's own file ("$Flow/out") is not known at that
  // moment and stays. True.
  virtual bool KeepTemporaryData(bool keep) = 0;

  // The pump takes so many further signals out of the queue and then none, until this is called again; kAnyNumber, as
  // at first, is no bound. So a host pauses a workflow (0) and lets it take a step (1): what was not taken is in the
  // queue, is saved with it, and stays there over a stop and a start. Signals fired past the queue are not held, nor
  // are nodes at work outside of their signals. Any thread, any time. True.
  static constexpr std::uint32_t kAnyNumber = 0xFFFFFFFF;
  virtual bool SetHandOverQuota(std::uint32_t signals) = 0;

  // Queues a signal that no node has fired, behind those that wait and without a sender, as the start signal is, and
  // wakes the pump. Nothing is looked up: a receiver that is not there is found out by the delivery. Any thread. False
  // for null and without memory.
  virtual bool QueueInputSignal(const char* receiver_type, const char* receiver_instance,
                                const char* incoming_signal) = 0;

 protected:
  ~IWorkFlowEngine() = default;
};

}  // namespace OrvWorkFlow
