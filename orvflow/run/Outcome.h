// What a workflow says about how it ended: the text entry "/Orvflow/Outcome" of its dictionary, and what the node
// RunEnd writes, "/Orvflow/End".
#pragma once

#include <cstdint>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

// For a workflow that has come to its end. True when it says nothing, or what it says begins with "done". Otherwise
// prints that as an error line and returns false. `shown_name` is how messages call the workflow's file.
bool ReportOutcome(IDictionary& dictionary, const std::string& shown_name);

// Whether a node has ended the run, or had when the process died.
bool WasEnded(IDictionary& dictionary);
// Prints which node that was and why, with the number of signals that wait. The exit code that it chose.
ExitCode ReportEnd(IDictionary& dictionary, const std::string& shown_name, std::uint32_t waiting);

}  // namespace OrvWorkFlow::Program
