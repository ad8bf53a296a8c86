// The road of a signal: from the engine to the thread that delivers it, and from a node back to the engine.
#pragma once

#include <string>

#include "signalmediator/MediatorContext.h"
#include "signalmediator/nodes/NodeLoader.h"
#include "signalmediator/signals/SignalDelivery.h"

namespace OrvWorkFlow::Core::Mediator {

// Any thread. What the host throws counts as a refusal.
class SignalRouter {
 public:
  // All must outlive this; `gui_thread` is what the host calls for each message.
  SignalRouter(MediatorContext& context, NodeLoader& loader, SignalDelivery& delivery,
               IHostAppGuiThreadCallback& gui_thread)
      : context_(context), loader_(loader), delivery_(delivery), gui_thread_(gui_thread) {}

  // Takes what the pump has noted for this thread along. False when there is nobody who could get the signal.
  bool FireInput(const char* type, const char* instance, const char* signal_name) noexcept;
  // The signals with which stopped nodes go on. Throws when the host's lock does.
  void FireReboots();

  // What a node fires: no lock is taken, it goes straight to the engine on the node's own thread.
  bool ForwardFrom(IWorkNode& node, const char* signal_name) noexcept;
  // True whatever becomes of the signal.
  bool ForwardOutput(const char* type, const char* instance, const char* signal_name) noexcept;

 private:
  bool Fire(const InputSignal& signal, SignalSource& source) noexcept;
  bool HandOver(const InputSignal& signal, SignalSource& source);
  bool HandToHost(IHostApp& host, const InputSignal& signal, const SignalSource& source,
                  WorkNodeList::Place place) noexcept ORV_REQUIRES(context_.access_lock);
  bool Forward(const char* type, const char* instance, const char* signal_name) noexcept;
  bool ForwardFired(const std::string& type, const std::string& instance, const char* signal_name) noexcept;
  bool ForwardFiredOutside(const WorkNodeEntry& entry, const char* signal_name) noexcept;

  MediatorContext& context_;
  NodeLoader& loader_;
  SignalDelivery& delivery_;
  IHostAppGuiThreadCallback& gui_thread_;
};

}  // namespace OrvWorkFlow::Core::Mediator
