// The command line: chooses the verb and complains about what nobody understands.
#pragma once

#include "orvflow/Terminal.h"

namespace OrvWorkFlow::Program {

// Parses and executes. Throws ProgramError for every fault of the command line, before anything is done.
ExitCode ExecuteCommandLine(int argument_count, char** arguments);

}  // namespace OrvWorkFlow::Program
