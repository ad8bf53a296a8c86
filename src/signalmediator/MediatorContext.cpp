#include "signalmediator/MediatorContext.h"

#include "CoreObjects/FindObject.h"
#include "CoreObjects/SignalsOfThread.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"

namespace OrvWorkFlow::Core::Mediator {

IDictionary* MediatorContext::GlobalDictionary() noexcept {
  return FindGlobalObject<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary).get();
}

IDictionary* MediatorContext::GlobalDictionary(const char* operation) noexcept {
  IDictionary* dictionary = GlobalDictionary();
  if (dictionary == nullptr) ShowMediatorBox(MediatorBoxes::kNoGlobalDictionary, operation);
  return dictionary;
}

void MediatorContext::TellLost(const IRunObserver::Sender& sender) const noexcept {
  if (!observer) return;
  observer.Tell(&IRunObserver::SignalLost, IRunObserver::LostSignal{ThisThreadsSignals().delivery.number, sender, {}});
}

}  // namespace OrvWorkFlow::Core::Mediator
