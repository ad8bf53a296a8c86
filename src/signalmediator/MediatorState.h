// The mediator's state between runs: what nodes and utility objects save themselves, and the reboot signals.
#pragma once

#include "signalmediator/MediatorContext.h"
#include "signalmediator/objects/UtilityObjectLoader.h"

namespace OrvWorkFlow::Core::Mediator {

// What escapes from the walks is shown and thrown on: the engine, which saves its own state around this, must know. So
// must it know of reboot signals that could not be written.
void SaveMediatorState(MediatorContext& context, UtilityObjectLoader& objects);

void LoadRebootSignals(RebootSignals& signals);

}  // namespace OrvWorkFlow::Core::Mediator
