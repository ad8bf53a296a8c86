// What a work node implements, and how it fires its output signals.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

class IWorkNode;

class IOutgoingSignalHandler {
 public:
  // Fires an output signal of `node`: it is mapped and queued, not delivered, before this returns, so a node may fire
  // from anywhere, its own Signal included. Always true for a known node. Any thread.
  virtual bool Signal(IWorkNode* node, const char* signal_name) = 0;

  // For a node that works on threads of its own: what this thread changes in the workflow's dictionary from now on
  // belongs to the next output signal that it fires. If the process dies before that signal is queued, a run that is
  // continued from its record has none of these changes. Changes that are not held count at once. Nothing happens while
  // an input signal is delivered on this thread: what it changes belongs to the delivery. True for a known node.
  virtual bool HoldChanges(IWorkNode* /*node*/) { return false; }

 protected:
  ~IOutgoingSignalHandler() = default;
};

// Deliveries come one at a time for each host: on its GUI thread, or, without a host application, on the engine's pump
// thread. A node may throw from any operation; the library catches it and shows it.
//
// Do not wait in Signal for another thread that fires an output signal: without a host application the pump holds the
// engine's mutex while Signal runs. Do not stop the workflow from within Signal; ask for it and return.
//
// GetTypeName and GetInstanceName must always answer the same.
class IWorkNode : public IBaseWorkFlowObject {
 public:
  virtual bool GetInstanceName(IOrvPString* name) = 0;

  // An input signal. False is shown to the user as a failure.
  virtual bool Signal(const char* signal_name) = 0;

  // Asks the node to stop. True when it was stopped while working: GetRebootSignal then tells how to go on.
  virtual bool StopWork() = 0;

  // Whom to tell output signals; null when the mediator goes away.
  virtual void SetOutgoingSignalHandler(IOutgoingSignalHandler* handler) = 0;

  // The input signal with which the work continues after a restart.
  virtual bool GetRebootSignal(IOrvPString* signal_name) = 0;

  // The value of a property, for example "Component" or "Busy" ("yes" while work goes on outside of Signal). False when
  // the node has no such property.
  virtual bool GetProperty(const char* property_name, IOrvPString* value) = 0;

  // Gives the node its instance name, right after it was made and before anything else. False refuses the instance.
  virtual bool Initialise(const char* instance_name) = 0;

 protected:
  ~IWorkNode() = default;
};

}  // namespace OrvWorkFlow
