// The command line: chooses the verb and complains about what nobody understands.
#pragma once

#include <string>
#include <vector>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

// Parses and executes the words behind the program's name, which are UTF-8. Throws ProgramError for every fault of the
// command line, before anything is done.
ExitCode ExecuteCommandLine(std::vector<std::string> words);

}  // namespace OrvWorkFlow::Program
