// A look at a running workflow: what works, what is there and what waits.
#pragma once

#include <cstdint>

#include "OrvWorkFlow/IRunObserver.h"

namespace OrvWorkFlow {

// Implemented by whoever wants to look, and passed to ISignalMediator::Report and IWorkFlowEngine::ReportQueue. Called
// before they return, on the caller's thread and without a lock held. Structures and texts are valid during the call.
// Members of structures are added at their ends.
class IRunReport {
 public:
  // A delivery that has begun and not ended. The oldest comes first; of several on one thread the last one works, and
  // the others wait for it in message loops of their own.
  struct Work {
    IRunObserver::Delivery delivery;
    std::uint64_t milliseconds = 0;  // since it began
  };
  virtual void NodeAtWork(const Work& work) = 0;

  // In the order in which they were made. Nodes at work are not asked whether they are busy.
  struct Node {
    const char* type = "";
    const char* instance = "";
    bool at_work = false;
    bool busy = false;
  };
  virtual void NodeThere(const Node& node) = 0;

  // From the front of the queue.
  struct Waiting {
    std::uint64_t number = 0;
    IRunObserver::Sender sender;
    IRunObserver::Receiver receiver;
  };
  virtual void SignalWaiting(const Waiting& signal) = 0;

 protected:
  ~IRunReport() = default;
};

}  // namespace OrvWorkFlow
