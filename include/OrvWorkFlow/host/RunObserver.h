// An observer of a run that cares for some of what happens.
#pragma once

#include "OrvWorkFlow/IRunObserver.h"

namespace OrvWorkFlow::Host {

// Does nothing; a host overrides what it wants to know. On the terms of IRunObserver.h: the operations are called with
// locks of the library held, by several threads at once, and call nothing of it but WorkflowHost::RequestStop and
// RequestSave.
class RunObserver : public IRunObserver {
 public:
  void SignalQueued(const QueuedSignal& /*signal*/) override {}
  void SignalsDropped(std::uint64_t /*first*/, std::uint64_t /*count*/) override {}
  void SignalIgnored(const IgnoredSignal& /*signal*/) override {}
  void MappingNotRead(const UnreadMapping& /*mapping*/) override {}
  void SignalLost(const LostSignal& /*signal*/) override {}
  void DeliveryBegun(const Delivery& /*delivery*/) override {}
  void DeliveryEnded(const Delivery& /*delivery*/, Outcome /*outcome*/, const char* /*text*/) override {}
  void RebootSignalFired(std::uint64_t /*number*/, const Receiver& /*receiver*/) override {}
  void NodeMade(const char* /*type*/, const char* /*instance*/) override {}

 protected:
  ~RunObserver() = default;
};

}  // namespace OrvWorkFlow::Host
