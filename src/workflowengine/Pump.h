// The signal pump: fires the queue's entries one after the other, on a thread of its own.
#pragma once

#include "workflowengine/EngineCore.h"

namespace OrvWorkFlow::Core::Engine {

// The body of the pump thread; `argument` is the EngineCore that started it. Fires what is queued and waits for the
// next named event, in turns, until a stop is asked for. Answers 0.
unsigned MainWorkFlowProc(void* argument) noexcept;

// One pass, on any thread: fires from the front of the queue, each entry's input signal on its receiver, until the
// queue is empty or a stop is asked for. The engine mutex is held all the time. Entries that come in while the last one
// is being fired are left to the next pass, for which their event stands ready; without a mediator all stay, and while
// the host application has as many as it may have, the rest. Throws what the mediator throws.
void FireAllReadySignals(EngineCore& core);

}  // namespace OrvWorkFlow::Core::Engine
