// orvflow inspect [LIBRARY...]: what libraries register, and what their nodes say about themselves.
#include <utility>
#include <vector>

#include "orvflow/inspect/LibraryOutput.h"
#include "orvflow/inspect/LibrarySearch.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class InspectVerb final : public Verb {
 public:
  explicit InspectVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::vector<std::string> libraries_;
  std::vector<std::string> plugin_directories_;
  bool json_ = false;
  bool markdown_ = false;
};

InspectVerb::InspectVerb(CLI::App& program)
    : Verb(program, "inspect", "Shows what libraries register, and how their nodes are used") {
  command()
      .add_option("LIBRARY", libraries_, "Files, or names in the plug-in directories; without any, all that are there")
      ->type_name("");
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  AddFlag("--json", json_, "Prints JSON (docs/libraries.schema.json)");
  AddFlag("--markdown", markdown_, "Prints a page");
  command().footer(
      "Each library is loaded in a child process first: one that crashes, ends the process or hangs is reported.\n"
      "Exit codes: 0 done, 4 a library is missing or broken.\n"
      "\n"
      "Example:\n"
      "  orvflow inspect\n"
      "  orvflow inspect BackupNodes\n"
      "  orvflow inspect --json ./libMyNodes.so");
}

ExitCode InspectVerb::Execute() {
  if (json_ && markdown_) throw UsageError("--json and --markdown are two forms of one output; give one of them");
  AddPluginDirectories(plugin_directories_);
  std::vector<LibraryDescription> libraries;
  const ExitCode code = DescribeLibraries(libraries_, [&](LibraryDescription library) {
    // At once: what the next library does must not hide it.
    if (!json_ && !markdown_) WriteStandardOutput(LibraryAsText(library));
    libraries.push_back(std::move(library));
  });
  if (json_) WriteStandardOutput(LibrariesAsJson(libraries));
  if (markdown_) WriteStandardOutput(LibrariesAsMarkdown(libraries));
  return code;
}

}  // namespace

std::unique_ptr<Verb> MakeInspectVerb(CLI::App& program) { return std::make_unique<InspectVerb>(program); }

}  // namespace OrvWorkFlow::Program
