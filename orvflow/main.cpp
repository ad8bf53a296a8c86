// The program `orvflow`.
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "orvflow/terminal/Arguments.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/terminal/LastResort.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/trial/LibraryTrial.h"
#include "orvflow/verbs/CommandLine.h"

namespace OrvWorkFlow::Program {

namespace {

ExitCode Execute(int argument_count, char** arguments) {
  EndInOrderWithoutMemory();
  try {
    SecureStandardStreams();
    std::vector<std::string> words = ArgumentsInUtf8(argument_count, arguments);
    if (words.size() == 1 && words.front() == kTrialArgument) ServeTrial();
    const ExitCode code = ExecuteCommandLine(std::move(words));
    if (IsStandardOutputWritten()) return code;
    PrintErrorLine(DescribeLostOutput());
    return code == ExitCode::Done ? ExitCode::Failed : code;
  } catch (const ProgramError& error) {
    PrintErrorLine(error.what());
    return error.code();
  } catch (const Host::HostError& error) {
    PrintErrorLine(error.what());
    return CodeOf(error.kind());
  } catch (const std::bad_alloc&) {
    PrintOutOfMemory();
    return ExitCode::Failed;
  } catch (const std::exception& error) {
    PrintFailure(error.what());
    return ExitCode::Failed;
  }
}

}  // namespace

}  // namespace OrvWorkFlow::Program

int main(int argument_count, char** arguments) {
  return static_cast<int>(OrvWorkFlow::Program::Execute(argument_count, arguments));
}
