// The verbs of the program, one file each.
#pragma once

#include <memory>
#include <string>

#include "CLI/App.hpp"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

// A verb declares its options to its command when it is made, and reads them when it is executed.
class Verb {
 public:
  Verb(const Verb&) = delete;
  Verb& operator=(const Verb&) = delete;
  virtual ~Verb() = default;

  CLI::App& command() const { return *command_; }

  // Does the work and answers the exit code; throws ProgramError for what ends in an error line.
  virtual ExitCode Execute() = 0;

 protected:
  Verb(CLI::App& program, const std::string& name, const std::string& description)
      : command_(program.add_subcommand(name, description)) {}

  // An option that stands or does not, and takes no value.
  CLI::Option* AddFlag(const std::string& name, bool& stands, const std::string& description) const;

  // An error in this verb's part of the command line.
  ProgramError UsageError(const std::string& text) const;

 private:
  CLI::App* command_;  // Owned by the program's App.
};

std::unique_ptr<Verb> MakeRunVerb(CLI::App& program);
std::unique_ptr<Verb> MakeFailedVerb(CLI::App& program);
std::unique_ptr<Verb> MakeBridgeVerb(CLI::App& program);
std::unique_ptr<Verb> MakeCheckVerb(CLI::App& program);
std::unique_ptr<Verb> MakeGraphVerb(CLI::App& program);
std::unique_ptr<Verb> MakeHistoryVerb(CLI::App& program);
std::unique_ptr<Verb> MakeWhyVerb(CLI::App& program);
std::unique_ptr<Verb> MakeShowVerb(CLI::App& program);
std::unique_ptr<Verb> MakeReplayVerb(CLI::App& program);
std::unique_ptr<Verb> MakeUiVerb(CLI::App& program);
std::unique_ptr<Verb> MakeInspectVerb(CLI::App& program);
std::unique_ptr<Verb> MakeNewVerb(CLI::App& program);
std::unique_ptr<Verb> MakeSchemaVerb(CLI::App& program);
std::unique_ptr<Verb> MakeDictVerb(CLI::App& program);
std::unique_ptr<Verb> MakeFormatVerb(CLI::App& program);
std::unique_ptr<Verb> MakeDiffVerb(CLI::App& program);
std::unique_ptr<Verb> MakeMergeVerb(CLI::App& program);
std::unique_ptr<Verb> MakeMatchVerb(CLI::App& program);
std::unique_ptr<Verb> MakePathVerb(CLI::App& program);
std::unique_ptr<Verb> MakeEncryptVerb(CLI::App& program);
std::unique_ptr<Verb> MakeDecryptVerb(CLI::App& program);
std::unique_ptr<Verb> MakeBase64Verb(CLI::App& program);
std::unique_ptr<Verb> MakeCompletionVerb(CLI::App& program);
std::unique_ptr<Verb> MakeManualVerb(CLI::App& program);

// Adds directories that the user named to those in which plug-in libraries are looked for.
void AddPluginDirectories(const std::vector<std::string>& directories);

}  // namespace OrvWorkFlow::Program
