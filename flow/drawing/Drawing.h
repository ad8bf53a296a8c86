// A workflow as a picture: text for Graphviz.
#pragma once

#include <string>

#include "flow/check/Finding.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

// DOT, in UTF-8: instances in boxes, those of one type in one colour and, where they are to be grouped, in one frame; a
// signal is an arrow, "fired" or "fired → taken" beside it; where the workflow begins; what findings say where they
// are. `title` is the picture's.
std::string DrawAsDot(const Workflow& workflow, const Findings& findings, const std::string& title,
                      bool grouped = false);

}  // namespace OrvWorkFlow::Flow
