#include "OrvWorkFlow/sdk/CurrentDelivery.h"

#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Sdk {

std::optional<Delivery> CurrentDelivery() {
  auto* const mediator = FindGlobal<ISignalMediator>(ObjectNames::kSignalMediator, InterfaceNames::kSignalMediator);
  if (mediator == nullptr) return std::nullopt;
  ISignalMediator::PerformedDelivery performed;
  const TextHolder run;
  if (!mediator->GetPerformedDelivery(&performed, run.get())) return std::nullopt;
  return Delivery{run.Text(), performed.number, performed.attempt};
}

}  // namespace OrvWorkFlow::Sdk
