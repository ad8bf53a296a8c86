// The signals that failed or were set aside and are kept in the state of a workflow.
#pragma once

#include <string>

#include "OrvWorkFlow/host/WorkflowHost.h"

namespace OrvWorkFlow::Program {

// Says which signals are kept in the state of a run that has nothing more to do, and what can be done. `flow` is how
// messages call the flow file.
void ReportKeptSignals(IDictionary& dictionary, const std::string& flow, const Host::StateFile& state);

// Takes the signals that failed or were set aside in earlier runs back into the queue of the saved state. Throws
// ProgramError or HostError when there is no state, or it cannot be written.
void RetryKeptSignals(const Host::WorkflowHost& host, const Host::StateFile& state, const std::string& workflow_name);

}  // namespace OrvWorkFlow::Program
