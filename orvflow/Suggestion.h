// "Did you mean": the program asks what the checks of a workflow ask.
#pragma once

#include "flow/Suggestion.h"

namespace OrvWorkFlow::Program {

using Flow::EditDistance;
using Flow::Suggest;

}  // namespace OrvWorkFlow::Program
