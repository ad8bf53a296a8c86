// orvflow diff A.xml B.xml: in what two dictionary files differ, by path.
#include <vector>

#include "orvflow/document/DifferencesOutput.h"
#include "orvflow/document/DocumentFile.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/Colours.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class DiffVerb final : public Verb {
 public:
  explicit DiffVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  struct Names {
    std::string old_file;
    std::string old_name;
    std::string new_file;
    std::string new_name;
  };
  Names FindNames() const;
  ExitCode Compare(const Names& names) const;

  std::string old_;
  std::string new_;
  std::vector<std::string> more_;  // what git gives behind them
  std::string key_file_;
  ColourUse colour_use_ = ColourUse::Auto;
  bool json_ = false;
  bool git_ = false;
};

DiffVerb::DiffVerb(CLI::App& program) : Verb(program, "diff", "Shows in what two dictionary files differ, by path") {
  command().add_option("OLD", old_, "The old file; - for standard input")->type_name("");
  command().add_option("NEW", new_, "The new file")->type_name("");
  command().add_option("MORE", more_, "Only with --git")->type_name("")->group("");
  AddFlag("--json", json_, "Prints the differences as JSON (docs/differences.schema.json)");
  AddFlag("--git", git_, "Takes the seven arguments of an external diff of git; exits with 0");
  AddKeyFileOption(command(), key_file_);
  AddColourOption(command(), colour_use_);
  command().footer(
      "A line for each difference: \"- /Path: value\" is in the old file only, \"+ /Path: value\" in the new\n"
      "one, \"~ /Path: old -> new\" has changed. Values stand with their types; long ones are shortened here,\n"
      "and whole in JSON. Comments and the layout of the files are no differences, the order of entries is.\n"
      "Exit codes: 0 no differences, 1 some, 2 usage or a file cannot be read, 5 a file is no dictionary,\n"
      "7 a file is in use.\n"
      "\n"
      "Example:\n"
      "  orvflow diff flow.xml other.xml\n"
      "  git config diff.orvflow.command 'orvflow diff --git'");
}

DiffVerb::Names DiffVerb::FindNames() const {
  if (git_) {
    // PATH OLD HEX MODE NEW HEX MODE; a file whose merge is under way has a path only.
    if (more_.empty()) return {"/dev/null", "a/" + old_, "/dev/null", "b/" + old_};
    if (more_.size() < 5) throw UsageError("--git takes the arguments that git gives: PATH OLD HEX MODE NEW HEX MODE");
    return {new_, "a/" + old_, more_[2], "b/" + old_};
  }
  if (new_.empty()) throw UsageError("two files are needed");
  if (!more_.empty()) throw UsageError("one argument too many: " + more_.front());
  if (IsStandardStream(old_) && IsStandardStream(new_)) throw UsageError("standard input can be read once only");
  const auto shown = [](const std::string& file) {
    return IsStandardStream(file) ? std::string(kStandardInputName) : file;
  };
  return {old_, shown(old_), new_, shown(new_)};
}

ExitCode DiffVerb::Execute() {
  try {
    const ExitCode code = Compare(FindNames());
    return git_ && code == ExitCode::Failed ? ExitCode::Done : code;
  } catch (const Host::HostError& error) {
    const ExitCode code = CodeOf(error.kind());  // 1 would say "different".
    throw ProgramError(code == ExitCode::Failed ? ExitCode::Usage : code, error.what());
  } catch (const ProgramError& error) {
    throw ProgramError(error.code() == ExitCode::Failed ? ExitCode::Usage : error.code(), error.what());
  }
}

ExitCode DiffVerb::Compare(const Names& names) const {
  const DocumentFiles files(key_file_);
  const auto read = [&](const std::string& file, const std::string& name) {
    return git_ ? files.ReadOrNothing(file, name) : files.Read(file, name);
  };
  const DocumentSource before = read(names.old_file, names.old_name);
  const DocumentSource after = read(names.new_file, names.new_name);
  const std::vector<Difference> differences = FindDifferences(before.document, after.document);
  WriteStandardOutput(
      json_ ? DifferencesAsJson(differences, names.old_name, names.new_name)
            : DifferencesAsText(differences, names.old_name, names.new_name, Colours::ForOutput(colour_use_)));
  return differences.empty() ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace

std::unique_ptr<Verb> MakeDiffVerb(CLI::App& program) { return std::make_unique<DiffVerb>(program); }

}  // namespace OrvWorkFlow::Program
