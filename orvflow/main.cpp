// The program `orvflow`.
#include <exception>

#include "orvflow/Arguments.h"
#include "orvflow/CommandLine.h"
#include "orvflow/Terminal.h"

using OrvWorkFlow::Program::ExitCode;

int main(int argument_count, char** arguments) {
  try {
    return static_cast<int>(
        OrvWorkFlow::Program::ExecuteCommandLine(OrvWorkFlow::Program::ArgumentsInUtf8(argument_count, arguments)));
  } catch (const OrvWorkFlow::Program::ProgramError& error) {
    OrvWorkFlow::Program::PrintErrorLine(error.what());
    return static_cast<int>(error.code());
  } catch (const std::exception& error) {
    OrvWorkFlow::Program::PrintErrorLine(error.what());
    return static_cast<int>(ExitCode::Failed);
  }
}
