// Standard input and output, byte for byte on every platform.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Program {

// All of standard input. Throws ProgramError when it cannot be read.
std::string ReadStandardInput();

// Throws ProgramError when not all could be written.
void WriteStandardOutput(std::string_view bytes);

// Line ends are not translated from now on. Called by the two above.
void UseBinaryStreams();

}  // namespace OrvWorkFlow::Program
