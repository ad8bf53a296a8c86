// What a workflow says about how it ended: the text entry "/Orvflow/Outcome" of its dictionary.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

// For a workflow that has come to its end. True when it says nothing, or what it says begins with "done". Otherwise
// prints that as an error line and returns false. `shown_name` is how messages call the workflow's file.
bool ReportOutcome(IDictionary& dictionary, const std::string& shown_name);

}  // namespace OrvWorkFlow::Program
