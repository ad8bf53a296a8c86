// orvflow schema [LIBRARY...]: an XML schema of workflow files, from what the nodes of the plug-ins say.
#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "flow/model/Workflow.h"
#include "host/files/HostFiles.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/inspect/LibrarySearch.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/schema/WorkflowXsd.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class SchemaVerb final : public Verb {
 public:
  explicit SchemaVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::optional<Flow::Workflow> Flow() const;
  void WriteFile(const std::string& text) const;

  std::vector<std::string> libraries_;
  std::string flow_;
  std::string output_;
  std::vector<std::string> plugin_directories_;
};

SchemaVerb::SchemaVerb(CLI::App& program)
    : Verb(program, "schema", "Writes an XML schema of workflow files, for editors") {
  command()
      .add_option("LIBRARY", libraries_,
                  "Files, or names in the plug-in directories, whose nodes workflows may have; without any, all that "
                  "are there")
      ->type_name("");
  command()
      .add_option("--flow", flow_,
                  "A schema of this workflow alone: of its instances, each with the parameters and signals of its type")
      ->type_name("FLOW.xml");
  command().add_option("-o,--output", output_, "The schema's file, instead of standard output")->type_name("FILE");
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  command().footer(
      "Each library is loaded in a child process first, as by inspect. What a schema can tell and what only\n"
      "check can: docs/checking.md.\n"
      "\n"
      "Exit codes: 0 done, 4 a library is missing or broken; the schema of the others is written.\n"
      "\n"
      "Example:\n"
      "  orvflow schema -o workflow.xsd\n"
      "  xmllint --noout --schema workflow.xsd flow.xml");
}

bool HasNodes(const std::vector<LibraryDescription>& libraries) {
  return std::any_of(libraries.begin(), libraries.end(), [](const LibraryDescription& library) {
    return std::any_of(library.types.begin(), library.types.end(),
                       [](const TypeDescription& type) { return type.kind == "node"; });
  });
}

// The libraries are described before: they are alone in the process then.
ExitCode SchemaVerb::Execute() {
  AddPluginDirectories(plugin_directories_);
  std::vector<LibraryDescription> libraries;
  const ExitCode code =
      DescribeLibraries(libraries_, [&](LibraryDescription library) { libraries.push_back(std::move(library)); });
  if (libraries.empty()) return code;  // What is wrong has been said.
  if (!HasNodes(libraries)) {
    throw ProgramError(ExitCode::PluginBroken, "schema: there are no node types in the libraries that were looked at");
  }
  const std::optional<Flow::Workflow> flow = Flow();
  const std::string text = WriteWorkflowXsd(libraries, flow ? &*flow : nullptr);
  if (output_.empty() || IsStandardStream(output_)) {
    WriteStandardOutput(text);
  } else {
    WriteFile(text);
  }
  return code;
}

std::optional<Flow::Workflow> SchemaVerb::Flow() const {
  if (flow_.empty()) return std::nullopt;
  const auto host = std::make_unique<Host::WorkflowHost>();
  const FlowSource source(flow_);
  const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  ReadFlow(*dictionary, source.file(), source.shown_name());
  Flow::Workflow workflow = Flow::ReadWorkflow(*dictionary);
  if (!workflow.types.empty()) return workflow;
  throw FileError(ExitCode::DictionaryDamaged, source.shown_name(), WorkflowSchema::kWorkNodes,
                  "a dictionary, but no workflow: it has no work nodes");
}

// A schema that is there stands until the new one is whole.
void SchemaVerb::WriteFile(const std::string& text) const {
  const auto fail = [&](const std::string& reason) {
    throw FileError(ExitCode::Failed, output_, "", "cannot be written: " + reason);
  };
  const std::string path = Host::MakeAbsolutePath(output_);
  if (Host::FindFileKind(path) == Host::FileKind::Folder) fail("it is a folder");
  const std::string unfinished = path + ".new";
  std::ofstream file(unfinished, std::ios::binary);
  file << text;
  file.close();
  std::string reason = file.fail() ? "check the folder and the disk" : Host::RenameDurably(unfinished, path);
  if (reason.empty()) return;
  Host::RemoveDurably(unfinished);
  fail(reason);
}

}  // namespace

std::unique_ptr<Verb> MakeSchemaVerb(CLI::App& program) { return std::make_unique<SchemaVerb>(program); }

}  // namespace OrvWorkFlow::Program
