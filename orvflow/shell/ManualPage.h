// Manual pages in the language of man(7).
#pragma once

#include <string>

#include "orvflow/shell/CommandDescription.h"

namespace OrvWorkFlow::Program {

// That of the program, which names the verbs: orvflow(1).
std::string ProgramPage(const ProgramDescription& description, const std::string& version);
// That of one verb: orvflow-run(1).
std::string VerbPage(const ProgramDescription& description, const VerbDescription& verb, const std::string& version);

}  // namespace OrvWorkFlow::Program
