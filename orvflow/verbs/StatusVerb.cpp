#include "orvflow/verbs/StatusVerb.h"

#include <optional>
#include <string_view>

#include "OrvWorkFlow/host/StateFile.h"
#include "host/files/HostFiles.h"
#include "host/state/FileLock.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/watch/StatusServer.h"

namespace OrvWorkFlow::Program {

namespace {

class StatusVerb final : public Verb {
 public:
  explicit StatusVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::string flow_;
  std::string state_file_;
  bool as_json_ = false;
};

StatusVerb::StatusVerb(CLI::App& program)
    : Verb(program, "status", "Shows how the run of a workflow stands: queue, nodes, failures") {
  command().add_option("FLOW.xml", flow_, "The workflow's dictionary file, as it was given to run")->type_name("");
  command().add_option("--state", state_file_, "As it was given to run")->type_name("FILE");
  AddFlag("--json", as_json_, "Prints the report as JSON (docs/status.schema.json)");
  command().footer(
      "Says what is at work, what waits, and what each node has delivered and failed. Exit code 1 when no run\n"
      "of the workflow goes on.\n"
      "\n"
      "Example:\n"
      "  orvflow status flow.xml\n"
      "  orvflow status flow.xml --state other.state.xml");
}

// What is asked is the process that has the lock of the state, and it is asked which state it has: the lock of a run
// that was killed may name a process of today.
ExitCode StatusVerb::Execute() {
  if (flow_.empty()) throw UsageError("no workflow file given");
  const bool has_file = !IsStandardStream(flow_);
  if (!has_file && state_file_.empty()) {
    throw UsageError("a flow from standard input is known by its state; name that with --state");
  }
  if (has_file && Host::FindFileKind(Host::MakeAbsolutePath(flow_)) == Host::FileKind::Missing) {
    throw FileError(ExitCode::Failed, flow_, "", "no such file");
  }
  const std::string state = Host::StateFile::NameFor(flow_, state_file_);
  const std::string path = Host::ResolveLinks(Host::MakeAbsolutePath(state));
  const std::string process = Host::FileLock::ReadOwner(path + ".lock");
  const ProgramError nothing_runs = FileError(ExitCode::Failed, flow_, "", "no run of it with the state " + state);
  if (process.empty()) throw nothing_runs;
  const std::optional<std::string> answer = AskForStatus(process);
  if (!answer || !answer->starts_with(path + "\n")) throw nothing_runs;
  const std::string_view report = std::string_view(*answer).substr(path.size() + 1);
  const std::size_t separator = report.find(kFormSeparator);
  if (!as_json_) {
    WriteStandardOutput(report.substr(0, separator));
  } else if (separator != std::string_view::npos) {
    WriteStandardOutput(report.substr(separator + 1));
  } else {
    throw FileError(ExitCode::Failed, flow_, "", "its run is that of an older orvflow, which tells no JSON");
  }
  return ExitCode::Done;
}

}  // namespace

std::unique_ptr<Verb> MakeStatusVerb(CLI::App& program) { return std::make_unique<StatusVerb>(program); }

}  // namespace OrvWorkFlow::Program
