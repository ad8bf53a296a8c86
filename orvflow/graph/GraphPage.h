// A workflow's drawing as a page: one file that needs no network and no other program.
#pragma once

#include <string>

#include "flow/check/Finding.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Program {

// False where the program was built without the page, because npm could not make it.
bool HasGraphPage();

// HTML in UTF-8. The browser lays `dot` out, which has to be the drawing of `workflow`: its nodes are "n0", "n1" and so
// on, in the order of types and instances. Parameters are in it by their names, without what they hold.
std::string MakeGraphPage(const std::string& title, const std::string& dot, const Flow::Workflow& workflow,
                          const Flow::Findings& findings);

// The data of such a page, as JSON.
std::string MakeGraphData(const std::string& title, const std::string& dot, const Flow::Workflow& workflow);

}  // namespace OrvWorkFlow::Program
