// A run that stops when the user or the system asks for it.
#pragma once

#include <string>

#include "OrvWorkFlow/host/WorkflowHost.h"

namespace OrvWorkFlow::Program {

// Runs the workflow to its end, after WatchForStopRequests. A stop that has to wait says what it waits for; `flow` is
// how messages call the flow file, `saves` whether a stop saves the state.
Host::RunResult RunUntilStopped(Host::WorkflowHost& host, const Host::RunSettings& settings, const std::string& flow,
                                bool saves);

}  // namespace OrvWorkFlow::Program
