// What is measured, one function a subject; each prints and judges.
#pragma once

#include "benchmarks/signals/EngineRoad.h"

namespace signals_bench {

// Beside other ways from thread to thread.
void RaceAll();
void RaceAcrossGuiThread();
void RaceRoundTrips();
// What must not depend on how much there is.
void Backlogs();
void Growth();
void ManySignals();
// Nodes that write to the dictionary at each signal.
void Writing();
// With and without what a host may ask for.
void Options();
// Taking in a workflow beside many others.
void Absorbing();
// States with many waiting signals.
void SavedQueues();

// Waits until the pump has delivered everything.
void Drain(EngineRoad& road);

}  // namespace signals_bench
