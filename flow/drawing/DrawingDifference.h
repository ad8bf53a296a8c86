// Two workflows as one picture: what one has and the other has not.
#pragma once

#include <string>

#include "flow/model/FlowDifference.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

// DOT, as Drawing.h has it. What is added is green and has a "+", what is removed is red and dashed and has a "-", what
// has changed is amber and has a "~" and says what; all else is grey. `since` is what the picture calls `before`.
std::string DrawDifference(const Workflow& before, const Workflow& after, const NodeChanges& changes,
                           const std::string& title, const std::string& since);

}  // namespace OrvWorkFlow::Flow
