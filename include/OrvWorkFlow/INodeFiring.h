// How many output signals a work node fires. Optional, beside INodeDescription: with it the length of a workflow's
// queue can be known before the workflow runs.
#pragma once

#include <cstdint>

namespace OrvWorkFlow {

// A node answers to "INodeFiring" right after it was made: it need not have been initialised. One that fires as often
// as its parameters say, or on its own, does not answer to it.
class INodeFiring {
 public:
  // The most output signals that the node fires for one input signal, all of its outputs together, during the signal or
  // later. The same for all nodes of the type, never negative, never throws, any thread.
  virtual std::int32_t MostSignalsFired() = 0;

 protected:
  ~INodeFiring() = default;
};

}  // namespace OrvWorkFlow
