// The utility object "HostApp" that a host supplies when deliveries are to run on its GUI thread.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// One input signal on its way to a node. Opaque to the host.
class InputSignalMessage;

class IHostAppGuiThreadCallback {
 public:
  // Performs the delivery and takes the message. For every message that RunOnGuiThread accepted, call it exactly once,
  // on the GUI thread. It may run a node for as long as the node likes, and may be entered again from a nested message
  // loop. Never throws.
  virtual void DeliverInputSignal(InputSignalMessage* message) = 0;

 protected:
  ~IHostAppGuiThreadCallback() = default;
};

class IHostApp : public IBaseWorkFlowObject {
 public:
  // Queues the call and returns; true means queued. It must not deliver before it returns on any other thread than the
  // caller's: the mediator's lock is held. False means refused: the mediator then counts the signal as never sent and
  // the message is still the mediator's. A host that goes away first delivers what it queued. Any thread.
  virtual bool RunOnGuiThread(IHostAppGuiThreadCallback* callback, InputSignalMessage* message) = 0;

 protected:
  ~IHostApp() = default;
};

// What the host application answers to besides "IHostApp" when it can end, with the workflow's state saved, and go on
// later: a work node asks the global object "HostApp" for "IHostRestart". A host that cannot answers null.
class IHostRestart {
 public:
  // Asks the host to stop the workflow, save its state and end. Returns at once; the host stops between two signals. A
  // node that asks answers true to the StopWork that follows, and is given its reboot signal when the workflow goes on.
  // False when the host keeps no state: then nothing stops. Any thread.
  virtual bool RequestRestart() = 0;

 protected:
  ~IHostRestart() = default;
};

// The same for a host that lets a node end the workflow for good: the global object "HostApp" answers to "IHostEnd".
class IHostEnd {
 public:
  // Asks the host to stop the workflow as one that has come to its end: what waits is not delivered, and nothing is
  // saved to go on from. Returns at once; the host stops between two signals, and a few more may be delivered until it
  // does. False when the host does not let nodes end it. Any thread.
  virtual bool RequestEnd() = 0;

 protected:
  ~IHostEnd() = default;
};

}  // namespace OrvWorkFlow
