#include "signalmediator/signals/SignalRouter.h"

#include <utility>

#include "CoreObjects/SignalsOfThread.h"
#include "signalmediator/MediatorMessages.h"

namespace OrvWorkFlow::Core::Mediator {

[[gnu::always_inline]] inline bool SignalRouter::HandOver(const InputSignal& signal, SignalSource& source) {
  context_.tracer.Log(MediatorCategories::kFireInputSignal, MediatorLines::kBeforeFirstLock);
  const AccessLock::HandingOver handing_over(context_.access_lock);
  context_.tracer.Log(MediatorCategories::kFireInputSignal, MediatorLines::kAfterFirstLock);
  if (source.number == 0) source.number = context_.NextNumberPastQueue();
  SignalTexts::Note* const note = AreTextsOf(source.texts, signal) ? source.texts->note() : nullptr;
  WorkNodeList::Place place = note != nullptr ? context_.nodes.Recall(*note) : WorkNodeList::Place();
  if (!place.found()) {
    if (!loader_.EnsureTypeIsLoaded(signal.type)) {
      delivery_.TellEnd(signal, source, IRunObserver::Outcome::TypeNotLoaded);
      return false;
    }
    place = loader_.EnsureNodeIsMade(signal);
    if (note != nullptr) WorkNodeList::Remember(*note, place);
  }
  context_.tracer.Log(MediatorCategories::kFireInputSignal, MediatorLines::kDoneInstantiating, signal.type,
                      signal.instance);
  MediatorCounts::Add(context_.counts.sent, 1);
  if (IHostApp* host = context_.Host()) return HandToHost(*host, signal, source, place);
  context_.tracer.Log(MediatorCategories::kFireInputSignal, MediatorLines::kNoHostApp);
  delivery_.DeliverLocked(signal, source, place);
  return true;
}

[[gnu::always_inline]] inline bool SignalRouter::Fire(const InputSignal& signal, SignalSource& source) noexcept {
  try {
    return HandOver(signal, source);
  } catch (...) {  // Without memory there is no signal.
    ++context_.counts.failures;
    delivery_.TellEnd(signal, source, IRunObserver::Outcome::NoMemory);
    return false;
  }
}

bool SignalRouter::FireInput(const char* type, const char* instance, const char* signal_name) noexcept {
  SignalSource* const from_pump = std::exchange(ThisThreadsSignals().to_fire, nullptr);
  if (type == nullptr || instance == nullptr || signal_name == nullptr) return false;
  SignalSource past_queue;
  return Fire({type, instance, signal_name}, from_pump != nullptr ? *from_pump : past_queue);
}

// A signal that the host refuses was never sent, or the next stop would wait for it without end. One that the host has
// delivered before it refused was.
bool SignalRouter::HandToHost(IHostApp& host, const InputSignal& signal, const SignalSource& source,
                              WorkNodeList::Place place) noexcept {
  InputSignalMessage* message = nullptr;
  bool queued = false;
  try {
    const IRunObserver::Sender sender = context_.observer ? source.sender : IRunObserver::Sender();
    message =
        delivery_.AddMessage(CarriedSignal(signal, {source.number, sender, source.hand_overs, source.texts}, place));
    queued = host.RunOnGuiThread(&gui_thread_, message);
  } catch (...) {
  }
  if (!queued && (message == nullptr || delivery_.TakeBack(message))) {
    MediatorCounts::Add(context_.counts.sent, -1);
    if (message == nullptr) ++context_.counts.failures;
    delivery_.TellEnd(signal, source,
                      message == nullptr ? IRunObserver::Outcome::NoMemory : IRunObserver::Outcome::HostRefused);
  }
  return queued;
}

void SignalRouter::FireReboots() {
  const AccessLock::Hold hold(context_.access_lock);
  for (const RebootSignalRecord& record : context_.reboot_signals.Take()) {
    const InputSignal signal{record.type.c_str(), record.instance.c_str(), record.signal.c_str()};
    SignalSource source{context_.NextNumberPastQueue(), {}};
    context_.observer.Tell(&IRunObserver::RebootSignalFired, source.number,
                           IRunObserver::Receiver{signal.type, signal.instance, signal.signal});
    Fire(signal, source);
  }
  context_.reboot_signals.Clear();  // Of what was recorded meanwhile.
}

[[gnu::always_inline]] inline bool SignalRouter::Forward(const char* type, const char* instance,
                                                         const char* signal_name) noexcept {
  try {
    if (IWorkFlowEngine* engine = context_.Engine()) engine->OutputSignal(type, instance, signal_name);
  } catch (...) {
    context_.TellLost({type, instance, signal_name});
  }
  return true;
}

[[gnu::always_inline]] inline bool SignalRouter::ForwardFired(const std::string& type, const std::string& instance,
                                                              const char* signal_name) noexcept {
  context_.tracer.Log(MediatorCategories::kSignal, MediatorLines::kFired, type.c_str(), instance.c_str(), signal_name);
  return Forward(type.c_str(), instance.c_str(), signal_name);
}

// On a thread that performs no delivery.
bool SignalRouter::ForwardFiredOutside(const WorkNodeEntry& entry, const char* signal_name) noexcept {
  FiredOutside& fired = ThisThreadsSignals().fired;
  fired.during = entry.delivery.load(std::memory_order_acquire);
  if (entry.continuation != nullptr && fired.during == 0) fired.continuation = entry.continuation->GetContinuation();
  const bool is_forwarded = ForwardFired(entry.type, entry.instance, signal_name);
  fired = {};
  return is_forwarded;
}

bool SignalRouter::ForwardFrom(IWorkNode& node, const char* signal_name) noexcept {
  try {
    if (const WorkNodeEntry* called = delivery_.NodeBeingCalled(&node)) {
      return ForwardFired(called->type, called->instance, signal_name);
    }
    const WorkNodePointer entry = context_.nodes.FindNode(&node);
    if (entry != nullptr && entry->has_names) {
      const bool is_outside = context_.observer && ThisThreadsSignals().delivery.number == 0;
      return is_outside ? ForwardFiredOutside(*entry, signal_name)
                        : ForwardFired(entry->type, entry->instance, signal_name);
    }
    std::string type;
    std::string instance;
    if (AskNames(node, type, instance)) return ForwardFired(type, instance, signal_name);
  } catch (...) {
  }
  context_.TellLost({"", "", signal_name});
  return false;
}

bool SignalRouter::ForwardOutput(const char* type, const char* instance, const char* signal_name) noexcept {
  return Forward(type, instance, signal_name);
}

}  // namespace OrvWorkFlow::Core::Mediator
