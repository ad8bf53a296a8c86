// orvflow completion, orvflow manual: what shells and man need to know about the command line.
#include <fstream>

#include "base/text/Suggestion.h"
#include "host/files/HostFiles.h"
#include "orvflow/shell/Completion.h"
#include "orvflow/shell/ManualPage.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class CompletionVerb final : public Verb {
 public:
  explicit CompletionVerb(CLI::App& program)
      : Verb(program, "completion", "Prints a script by which a shell completes the words"), program_(program) {
    DeclareWords(command().add_option("SHELL", shell_, "bash, zsh or fish")->type_name(""),
                 {WordKind::OneOf({"bash", "zsh", "fish"})});
    command().footer(
        "It knows the verbs, their options, which values are files, and the paths in the file of dict. The\n"
        "Debian package installs it for all three shells.\n"
        "\n"
        "Example:\n"
        "  orvflow completion bash > ~/.local/share/bash-completion/completions/orvflow\n"
        "  orvflow completion zsh > ~/.zfunc/_orvflow\n"
        "  orvflow completion fish > ~/.config/fish/completions/orvflow.fish");
  }

  ExitCode Execute() override {
    if (shell_.empty()) throw UsageError("no shell given: bash, zsh or fish");
    const ProgramDescription description = Describe(program_);
    if (shell_ == "bash") {
      WriteStandardOutput(BashCompletion(description));
    } else if (shell_ == "zsh") {
      WriteStandardOutput(ZshCompletion(description));
    } else if (shell_ == "fish") {
      WriteStandardOutput(FishCompletion(description));
    } else {
      throw UsageError("no completion for " + shell_ + Base::Suggest(shell_, {"bash", "zsh", "fish"}));
    }
    return ExitCode::Done;
  }

 private:
  const CLI::App& program_;
  std::string shell_;
};

class ManualVerb final : public Verb {
 public:
  explicit ManualVerb(CLI::App& program)
      : Verb(program, "manual", "Prints the manual page of a verb, for man"), program_(program) {
    command().add_option("VERB", verb_, "Without it the page of the program")->type_name("");
    command()
        .add_option("--into", folder_, "Writes all pages there, as orvflow.1 and orvflow-VERB.1")
        ->type_name("DIR");
    command().footer(
        "The Debian package installs the pages: man orvflow-run.\n"
        "\n"
        "Example:\n"
        "  orvflow manual run | man -l -\n"
        "  orvflow manual --into man1");
  }

  ExitCode Execute() override {
    const ProgramDescription description = Describe(program_);
    std::vector<std::string> names;
    for (const VerbDescription& verb : description.verbs) names.push_back(verb.name);
    if (!folder_.empty()) {
      if (!verb_.empty()) throw UsageError("--into writes all pages; leave out " + verb_);
      WriteAll(description);
      return ExitCode::Done;
    }
    if (verb_.empty()) {
      WriteStandardOutput(ProgramPage(description, ORVFLOW_VERSION));
      return ExitCode::Done;
    }
    for (const VerbDescription& verb : description.verbs) {
      if (verb.name != verb_) continue;
      WriteStandardOutput(VerbPage(description, verb, ORVFLOW_VERSION));
      return ExitCode::Done;
    }
    throw UsageError("no verb " + verb_ + Base::Suggest(verb_, names));
  }

 private:
  void WriteAll(const ProgramDescription& description) const {
    if (Host::FindFileKind(folder_) != Host::FileKind::Folder) {
      throw FileError(ExitCode::Failed, folder_, "", "no such folder; make it first");
    }
    Write("orvflow.1", ProgramPage(description, ORVFLOW_VERSION));
    for (const VerbDescription& verb : description.verbs) {
      Write("orvflow-" + verb.name + ".1", VerbPage(description, verb, ORVFLOW_VERSION));
    }
  }
  void Write(const std::string& name, const std::string& text) const {
    const std::string file = Host::MakeAbsolutePath(folder_ + "/" + name);
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw FileError(ExitCode::Failed, file, "", "cannot be written; is the disk full?");
  }

  const CLI::App& program_;
  std::string verb_;
  std::string folder_;
};

}  // namespace

std::unique_ptr<Verb> MakeCompletionVerb(CLI::App& program) { return std::make_unique<CompletionVerb>(program); }
std::unique_ptr<Verb> MakeManualVerb(CLI::App& program) { return std::make_unique<ManualVerb>(program); }

}  // namespace OrvWorkFlow::Program
