// How a work node's work would go on if the process died. Optional, beside INodeDescription, for nodes that work
// outside of their signals.
#pragma once

namespace OrvWorkFlow {

// A node answers to "INodeContinuation" right after it was made: it need not have been initialised. With it, and with
// all that the node has to remember in the workflow's dictionary (NodeDescription::state_in_dictionary), a run that was
// killed goes on from its record where it was.
class INodeContinuation {
 public:
  // The input signal with which the work that is being done now would go on; "" when none is done. Asked when a signal
  // was delivered to the node, and on each thread of the node's own that fires an output signal, before that is queued:
  // the work that ends with an output signal has ended when that is fired, and the answer is "" then. Any thread, also
  // one that is about to fire; takes no lock that is held while the node fires. Never null, never throws; valid until
  // the node's library is unloaded.
  virtual const char* GetContinuation() = 0;

 protected:
  ~INodeContinuation() = default;
};

}  // namespace OrvWorkFlow
