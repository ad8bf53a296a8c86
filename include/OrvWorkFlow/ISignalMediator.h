// Hosts a workflow's work nodes: loads them on their first signal, delivers input signals, passes output signals on.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

class IDictionary;
class IRunObserver;
class IRunReport;

// "SignalMediator", one global object a process. Any thread, unless an operation says otherwise. What fails in front of
// the user is shown in a message box with the caption "Workflowengine".
//
// Base operations: LoadState(null) reads the workflow's definition from the global dictionary (the engine's LoadState
// comes first); SaveState saves nodes, utility objects and reboot signals; a second SetUtilityStore replaces the first.
class ISignalMediator : public IBaseWorkFlowObject {
 public:
  // Delivers an input signal: makes the node first if needed, then queues the delivery with the host application or,
  // when there is none, performs it before returning. False when the node's type could not be loaded or the host
  // refused.
  virtual bool FireInputSignal(const char* type_name, const char* instance_name, const char* signal_name) = 0;

  // Passes an output signal to the engine. True whatever the engine answers.
  virtual bool ForwardOutputSignal(const char* type_name, const char* instance_name, const char* signal_name) = 0;

  // Waits, without limit, until every sent signal has been received, asks every node to stop and records the reboot
  // signals of those that were working. Always true. Not on the host's GUI thread and not from within a node.
  virtual bool StopAllWorkNodes() = 0;

  // Fires the recorded reboot signals in order and forgets them. Always true.
  virtual bool FireRebootSignals() = 0;

  // Deletes the write directory of every workflow in the global dictionary, as DeleteWriteDirectory does. False without
  // a global dictionary.
  virtual bool DeleteTemporaryData() = 0;

  // Write definitions into the global dictionary. False when a box was shown.
  virtual bool AddLocalUtilityObject(const char* name, const char* win32_library, const char* other_library) = 0;
  virtual bool AddGlobalUtilityObject(const char* name, const char* win32_library, const char* other_library,
                                      const char* configuration_file) = 0;
  virtual bool AddWorkNode(const char* type_name, const char* win32_library, const char* other_library) = 0;
  // The directories become those of the current workflow, for all its instances.
  virtual bool AddWorkNodeInstance(const char* type_name, const char* instance_name, const char* configuration_file,
                                   const IOrvPStringList* read_directories, const char* write_directory) = 0;

  // Removes the definitions of utility objects and work nodes from the global dictionary; the live objects stay.
  virtual bool DeleteAllUtilityObjectsAndWorknodesFromMemory() = 0;

  // Loads the libraries of all work-node types and, with `instantiate`, makes all instances. Always true.
  virtual bool LoadWorkNodesNow(bool instantiate) = 0;

  // Takes the utility objects, work nodes and directories of another workflow's dictionary into the global one.
  virtual bool Absorb(IDictionary* dictionary) = 0;

  // Replaces the content of `definition_paths` by the dictionary paths of the instances that absorb flows: those of
  // type "AbsorbWorkflow" and those whose property "Component" is "yes".
  virtual bool GetInstantiatedWorknodesThatCallAbsorb(IOrvPStringList* definition_paths) = 0;

  // Numbers for a host that wants to know whether the workflow is idle, and for its summary. Each may be null.
  // sent/received: input signals handed over / whose delivery has begun. finished: deliveries that have ended. nodes:
  // instances made. failures: deliveries that answered false, threw or found no node, types that could not be loaded,
  // and signals for which there was no memory. busy: nodes whose property "Busy" is "yes" now.
  struct Statistics {
    std::uint32_t sent = 0;
    std::uint32_t received = 0;
    std::uint32_t finished = 0;
    std::uint32_t nodes = 0;
    std::uint32_t failures = 0;
    std::uint32_t busy = 0;
  };
  virtual bool GetStatistics(Statistics* statistics) = 0;

  // As IWorkFlowEngine::SetRunObserver, for what the mediator tells; waits for nothing.
  virtual bool SetRunObserver(IRunObserver* observer) = 0;

  // Shows `report` the deliveries at work, then the nodes. Never waits for a node that works; any thread. Deliveries
  // that began without an observer are not known.
  virtual bool Report(IRunReport* report) = 0;

  // From now on no write directory is deleted that is, or holds, what this path leads to: the workflow's file, its
  // saved state. The engine names the files that it loads. The path is a workflow path or a platform path and need not
  // exist. False for null, "" and without memory.
  virtual bool KeepFromDeletion(const char* path) = 0;

  // Deletes a directory with all that is in it; links in it are removed, never followed. Refused, with the reason as
  // the last error, is one that is or holds a root, a location such as $TEMP, drive "C:", the user's home, the current
  // folder, or what KeepFromDeletion names, however either is spelled and whatever links lead there. True for a
  // directory that does not exist. A failure may leave a part of it.
  virtual bool DeleteWriteDirectory(const char* directory) = 0;

  // The delivery that this thread performs, for the node that it calls. `run` and `number` are its key: no other
  // delivery has both, and they stay the same when the signal is delivered again because the process died in it;
  // `attempt` then is 2, 3... So what acts outside of the dictionary can recognise a repetition. They are what an
  // observer says (IRunObserver::NameDelivery); without one the run is "", the number that of IRunObserver.h and the
  // attempt 1. `run` may be null. False, with nothing assigned to `delivery`, on a thread that performs none, such as a
  // node's own, and when `run` refuses.
  struct PerformedDelivery {
    std::uint64_t number = 0;
    std::uint32_t attempt = 1;
  };
  virtual bool GetPerformedDelivery(PerformedDelivery* delivery, IOrvPString* run) = 0;

 protected:
  ~ISignalMediator() = default;
};

}  // namespace OrvWorkFlow
