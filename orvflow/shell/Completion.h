// Scripts by which shells complete the words of a command line.
#pragma once

#include <string>

#include "orvflow/shell/CommandDescription.h"

namespace OrvWorkFlow::Program {

std::string BashCompletion(const ProgramDescription& description);
std::string ZshCompletion(const ProgramDescription& description);
std::string FishCompletion(const ProgramDescription& description);

}  // namespace OrvWorkFlow::Program
