// orvflow merge BASE OURS THEIRS: a three-way merge of dictionary files, also as a merge driver of git.
#include <algorithm>

#include "orvflow/document/DocumentFile.h"
#include "orvflow/document/Merge.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class MergeVerb final : public Verb {
 public:
  explicit MergeVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  ExitCode MergeFiles() const;

  std::string base_;
  std::string ours_;
  std::string theirs_;
  std::string output_;
  std::string name_;
  std::string key_file_;
};

MergeVerb::MergeVerb(CLI::App& program)
    : Verb(program, "merge", "Merges what two sides have changed in a dictionary file") {
  command().add_option("BASE", base_, "The common ancestor; an empty file is an empty dictionary")->type_name("");
  command().add_option("OURS", ours_, "The file of one side; the result replaces it")->type_name("");
  command().add_option("THEIRS", theirs_, "The file of the other side")->type_name("");
  command()
      .add_option("-o,--output", output_, "Writes there instead of to OURS; - for standard output")
      ->type_name("FILE");
  command().add_option("--name", name_, "What messages call the file")->type_name("NAME");
  AddKeyFileOption(command(), key_file_);
  command().footer(
      "What one side alone has changed is taken from it: the value of an entry (a list as a whole), an\n"
      "attribute, an entry that was removed or added, the order of entries. Comments stay. The result is\n"
      "in canonical form (see format).\n"
      "Where both have changed the same, and not alike, OURS stands, a line on standard error names the\n"
      "path and the three values, and a comment that begins with CONFLICT shows in the file what the other\n"
      "two have: the file can be read all the while. Decide, take the comment away, and git add the file;\n"
      "orvflow format --check finds those that were left.\n"
      "Exit codes: 0 merged, 1 merged with conflicts, 2 usage or a file cannot be read or written, 5 a file\n"
      "is no dictionary, 7 a file is in use. After 2, 5 and 7 OURS is as it was.\n"
      "\n"
      "Example:\n"
      "  orvflow merge base.xml ours.xml theirs.xml -o merged.xml\n"
      "  git config merge.orvflow.driver 'orvflow merge %O %A %B --name %P'");
}

ExitCode MergeVerb::Execute() {
  if (theirs_.empty()) throw UsageError("three files are needed: BASE OURS THEIRS");
  const auto streams = {IsStandardStream(base_), IsStandardStream(ours_), IsStandardStream(theirs_)};
  if (std::count(streams.begin(), streams.end(), true) > 1) throw UsageError("standard input can be read once only");
  try {
    return MergeFiles();
  } catch (const Host::HostError& error) {
    const ExitCode code = CodeOf(error.kind());  // 1 would say "conflicts".
    throw ProgramError(code == ExitCode::Failed ? ExitCode::Usage : code, error.what());
  } catch (const ProgramError& error) {
    throw ProgramError(error.code() == ExitCode::Failed ? ExitCode::Usage : error.code(), error.what());
  }
}

ExitCode MergeVerb::MergeFiles() const {
  const DocumentFiles files(key_file_);
  const auto called = [&](const std::string& file, const char* side) {
    if (name_.empty()) return IsStandardStream(file) ? std::string(kStandardInputName) : file;
    return name_ + " (" + side + ")";
  };
  const DocumentSource base = files.ReadOrNothing(base_, called(base_, "base"));
  const DocumentSource ours = files.Read(ours_, called(ours_, "ours"));
  const DocumentSource theirs = files.Read(theirs_, called(theirs_, "theirs"));
  const MergeResult result = Merge(base.document, ours.document, theirs.document);
  const std::string output = output_.empty() ? ours_ : output_;
  const std::string text = CanonicalText(result.document);
  files.Write(output, text, ours.is_enciphered && !IsStandardStream(output));
  const std::string shown_name = !name_.empty() ? name_ : IsStandardStream(output) ? "standard output" : output;
  for (const MergeConflict& conflict : result.conflicts) {
    PrintErrorLine(shown_name + ": " + conflict.path + ": conflict: " + conflict.what);
  }
  return result.conflicts.empty() ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace

std::unique_ptr<Verb> MakeMergeVerb(CLI::App& program) { return std::make_unique<MergeVerb>(program); }

}  // namespace OrvWorkFlow::Program
