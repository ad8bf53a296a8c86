// orvflow new node|flow|host NAME: a folder that is built, tested and run at once.
#include <vector>

#include "base/text/Suggestion.h"
#include "orvflow/new/NewFolder.h"
#include "orvflow/new/Templates.h"
#include "orvflow/shell/CommandDescription.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class NewVerb final : public Verb {
 public:
  explicit NewVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::string WhatIsNext(const std::vector<NewFile>& files) const;

  std::string kind_;
  std::string name_;
  std::string parent_;
};

NewVerb::NewVerb(CLI::App& program)
    : Verb(program, "new", "Makes a folder with a node, a workflow or a host to begin with") {
  DeclareWords(command().add_option("KIND", kind_, "node, flow or host")->type_name(""),
               {WordKind::OneOf({"node", "flow", "host"})});
  command()
      .add_option("NAME", name_, "Its name and the folder's: letters, digits and _, a letter first")
      ->type_name("");
  command().add_option("--into", parent_, "Makes the folder in there instead of the current one")->type_name("DIR");
  command().footer(
      "  node   a work node in C++, its test on a bench, a workflow that uses it\n"
      "  flow   a workflow of ready-made nodes, a script that checks and runs it\n"
      "  host   a program in C++ that runs a workflow, its test\n"
      "\n"
      "Each has a README.md that says how it is built. Nothing that is there is written over. The packages\n"
      "for developers have to be installed for nodes and hosts.\n"
      "\n"
      "Example:\n"
      "  orvflow new node LineCounter\n"
      "  orvflow new flow Nightly --into flows");
}

std::string NewVerb::WhatIsNext(const std::vector<NewFile>& files) const {
  std::string text;
  const bool is_inside = parent_.empty() || parent_.ends_with('/') || parent_.ends_with('\\');
  const std::string folder = (is_inside ? parent_ : parent_ + "/") + name_;
  for (const NewFile& file : files) text += folder + "/" + file.name + "\n";
  const char* const quote = folder.find(' ') == std::string::npos ? "" : "\"";
  text += "\nNext:\n  cd " + (quote + folder) + quote + "\n";
  if (kind_ == "flow") return text + "  ./test.sh          (test.cmd on Windows)\n";
  return text + "  cmake -S . -B build\n  cmake --build build\n  ctest --test-dir build --output-on-failure\n";
}

ExitCode NewVerb::Execute() {
  if (kind_.empty()) throw UsageError("node, flow or host?");
  const std::vector<NewFile> files = FilesFor(kind_, name_);
  if (files.empty()) throw UsageError("no kind " + kind_ + Base::Suggest(kind_, {"node", "flow", "host"}));
  if (name_.empty()) throw UsageError("no name given");
  const std::string why_not = WhyNotAName(kind_, name_);
  if (!why_not.empty()) throw ProgramError(ExitCode::Usage, "new: " + name_ + ": " + why_not);
  MakeNewFolder(parent_, name_, files);
  WriteStandardOutput(WhatIsNext(files));
  return ExitCode::Done;
}

}  // namespace

std::unique_ptr<Verb> MakeNewVerb(CLI::App& program) { return std::make_unique<NewVerb>(program); }

}  // namespace OrvWorkFlow::Program
