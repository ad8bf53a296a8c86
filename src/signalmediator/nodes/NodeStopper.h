// Stopping: waits until all that was sent has been received, then asks every node to stop and notes how it wants to go
// on.
#pragma once

#include "signalmediator/MediatorContext.h"

namespace OrvWorkFlow::Core::Mediator {

// What a node throws ends the stop of those that come after it; a box says so.
void StopAllNodes(MediatorContext& context);

}  // namespace OrvWorkFlow::Core::Mediator
