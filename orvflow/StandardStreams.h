// Standard input and output, byte for byte on every platform.
#pragma once

#include <string>
#include <string_view>

#include "orvflow/SecretMemory.h"

namespace OrvWorkFlow::Program {

// All of standard input. Throws ProgramError when it cannot be read.
std::string ReadStandardInput();

// Throws ProgramError when not all could be written.
void WriteStandardOutput(std::string_view bytes);

// The same without a copy that stays in memory. Nothing else may be read or written before.
SecretText ReadSecretInput();
void WriteSecretOutput(const SecretText& bytes);

// Line ends are not translated from now on. Called by the others.
void UseBinaryStreams();

}  // namespace OrvWorkFlow::Program
