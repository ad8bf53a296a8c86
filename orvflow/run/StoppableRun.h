// A run that stops when the user or the system asks for it.
#pragma once

#include <string>

#include "orvflow/run/WorkflowHost.h"

namespace OrvWorkFlow::Program {

// Runs the workflow to its end, after WatchForStopRequests. A stop and a checkpoint that have to wait say what they
// wait for; `flow` is how messages call the flow file.
RunResult RunUntilStopped(WorkflowHost& host, RunLimits limits, const std::string& flow);

}  // namespace OrvWorkFlow::Program
