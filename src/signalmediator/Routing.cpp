// The road of a signal: from the engine to the thread that delivers it, and from a node back to the engine.
#include <utility>

#include "CoreObjects/Format.h"
#include "CoreObjects/SignalsOfThread.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"

namespace OrvWorkFlow::Core::Mediator {

bool CSignalMediator::FireInputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  SignalSource* const from_pump = std::exchange(ThisThreadsSignals().to_fire, nullptr);
  if (type_name == nullptr || instance_name == nullptr || signal_name == nullptr) return false;
  SignalSource past_queue;
  return Fire({type_name, instance_name, signal_name}, from_pump != nullptr ? *from_pump : past_queue);
}

bool CSignalMediator::Fire(const InputSignal& signal, SignalSource& source) noexcept {
  try {
    return HandOver(signal, source);
  } catch (...) {  // Without memory there is no signal.
    ++failures_;
    TellEnd(signal, source, IRunObserver::Outcome::NoMemory);
    return false;
  }
}

bool CSignalMediator::HandOver(const InputSignal& signal, SignalSource& source) {
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kBeforeFirstLock);
  const AccessLock::HandingOver handing_over(access_lock_);
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kAfterFirstLock);
  if (source.number == 0) source.number = NextNumberPastQueue();
  SignalTexts::Note* const note = AreTextsOf(source.texts, signal) ? source.texts->note() : nullptr;
  WorkNodeList::Place place = note != nullptr ? nodes_.Recall(*note) : WorkNodeList::Place();
  if (!place.found()) {
    if (!EnsureTypeIsLoaded(signal.type)) {
      TellEnd(signal, source, IRunObserver::Outcome::TypeNotLoaded);
      return false;
    }
    place = EnsureNodeIsMade(signal);
    if (note != nullptr) WorkNodeList::Remember(*note, place);
  }
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kDoneInstantiating, signal.type, signal.instance);
  Add(sent_, 1);
  if (IHostApp* host = Host()) return HandToHost(*host, signal, source, place);
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kNoHostApp);
  DeliverLocked(signal, source, place);
  return true;
}

bool CSignalMediator::EnsureTypeIsLoaded(const char* type) {
  if (loaded_types_.find(std::string_view(type)) != loaded_types_.end()) return true;
  try {
    if (LoadWorknode(type, false)) return true;
    const std::string text = Format(MediatorBoxes::kTypeNotLoaded, type);
    ShowMediatorText(text);
    tracer_.LogText(MediatorCategories::kFireInputSignal, text);
  } catch (...) {
    ShowMediatorBox(MediatorBoxes::kLoadThrew, type);
  }
  ++failures_;
  return false;
}

WorkNodeList::Place CSignalMediator::EnsureNodeIsMade(const InputSignal& signal) {
  WorkNodeList::Place place = nodes_.Locate(signal.type, signal.instance);
  if (!place.found()) {
    try {
      InstantiateWorknodeInstance(signal.type, signal.instance);
      place = nodes_.Locate(signal.type, signal.instance);
    } catch (...) {
      ShowMediatorBox(MediatorBoxes::kInstantiateThrew, signal.type, signal.instance);
    }
  }
  return place;
}

// A signal that the host refuses was never sent, or the next stop would wait for it without end. One that the host has
// delivered before it refused was.
bool CSignalMediator::HandToHost(IHostApp& host, const InputSignal& signal, const SignalSource& source,
                                 WorkNodeList::Place place) noexcept {
  InputSignalMessage* message = nullptr;
  bool queued = false;
  try {
    const IRunObserver::Sender sender = observer_ ? source.sender : IRunObserver::Sender();
    message = AddMessage(CarriedSignal(signal, {source.number, sender, source.hand_overs, source.texts}, place));
    queued = host.RunOnGuiThread(this, message);
  } catch (...) {
  }
  if (!queued && (message == nullptr || TakeBack(message))) {
    Add(sent_, -1);
    if (message == nullptr) ++failures_;
    TellEnd(signal, source, message == nullptr ? IRunObserver::Outcome::NoMemory : IRunObserver::Outcome::HostRefused);
  }
  return queued;
}

InputSignalMessage* CSignalMediator::AddMessage(CarriedSignal carried) {
  if (messages_.NeedsRoom()) {
    const AccessLock::Beginning beginning(access_lock_);
    messages_.MakeRoom();
  }
  return messages_.Add(std::move(carried));
}

bool CSignalMediator::TakeBack(const InputSignalMessage* message) noexcept {
  CarriedSignal carried;
  const AccessLock::Beginning beginning(access_lock_);
  return messages_.Take(message, carried);
}

bool CSignalMediator::ForwardFired(const std::string& type, const std::string& instance, const char* signal_name) {
  tracer_.Log(MediatorCategories::kSignal, MediatorLines::kFired, type.c_str(), instance.c_str(), signal_name);
  return ForwardOutputSignal(type.c_str(), instance.c_str(), signal_name);
}

bool CSignalMediator::ForwardOutputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  if (type_name == nullptr || instance_name == nullptr || signal_name == nullptr) return false;
  try {
    if (IWorkFlowEngine* engine = engine_.Get(utility_store())) {
      engine->OutputSignal(type_name, instance_name, signal_name);
    }
  } catch (...) {  // The answer is true whatever becomes of the signal.
    TellLost({type_name, instance_name, signal_name});
  }
  return true;
}

}  // namespace OrvWorkFlow::Core::Mediator
