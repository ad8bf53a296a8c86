// orvflow why FILE NODE: why a node ran in a recorded run, or did not.
#include <memory>
#include <optional>
#include <vector>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "base/text/Suggestion.h"
#include "flow/model/Workflow.h"
#include "host/files/HostFiles.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/history/Explanation.h"
#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RecordSet.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class WhyVerb final : public Verb {
 public:
  explicit WhyVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  Flow::Workflow ReadWorkflow(const RunTale& tale) const;
  std::string Explain(const RunTale& tale, const RecordSet* records) const;
  std::string ExplainNumber(const RunTale& tale, const RecordSet* records, std::uint64_t number) const;

  std::string file_;
  std::string what_;
  std::string flow_;
  std::vector<std::string> others_;
  unsigned run_ = 0;
};

WhyVerb::WhyVerb(CLI::App& program)
    : Verb(program, "why", "Tells why a node ran in a recorded run, or did not (see run --record)") {
  command().add_option("FILE", file_, "The record")->type_name("");
  command()
      .add_option("NODE[.SIGNAL]", what_, "The instance, with or without one of its signals; or a delivery's number")
      ->type_name("");
  command().add_option("--run", run_, "The record's run with this number; else the last one")->type_name("N");
  command()
      .add_option("--flow", flow_, "The workflow's file, where it is no longer as the run had it")
      ->type_name("FILE");
  command()
      .add_option("--with", others_, "The record of another run too, which sent signals over a bridge")
      ->type_name("FILE")
      ->allow_extra_args(false);
  command().footer(
      "Example:\n"
      "  orvflow why flow.record Report\n"
      "  orvflow why flow.record Copier.next\n"
      "  orvflow why flow.record 17\n"
      "  orvflow why north.record List --with south.record");
}

ExitCode WhyVerb::Execute() {
  if (file_.empty()) throw UsageError("no record given");
  if (what_.empty()) throw UsageError("no node given");
  RunTale tale(run_);
  RecordFile record(file_);
  record.ReadAll([&](const Journal::Event& event) { tale.Take(event); });
  if (tale.run() == 0) {
    record.ThrowIfDamaged();
    throw FileError(ExitCode::Failed, file_, "", run_ == 0 ? "holds no run" : "holds no run " + std::to_string(run_));
  }
  std::optional<RecordSet> records;
  if (!others_.empty()) {
    std::vector<std::string> files = {file_};
    files.insert(files.end(), others_.begin(), others_.end());
    records.emplace(files, RecordSet::Keeps::Deliveries);
    records->WarnOfStrangers();
  }
  WriteStandardOutput(Explain(tale, records ? &*records : nullptr));
  record.ThrowIfDamaged();
  if (records) records->ThrowIfDamaged();
  return ExitCode::Done;
}

Flow::Workflow WhyVerb::ReadWorkflow(const RunTale& tale) const {
  const std::string& file = flow_.empty() ? tale.flow() : flow_;
  const std::string path = Host::MakeAbsolutePath(file);
  if (flow_.empty() && Host::FindFileKind(path) != Host::FileKind::Readable) {
    throw FileError(ExitCode::Failed, file_, "",
                    "the workflow's file, " + file + ", is not there any more; name it with --flow");
  }
  const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
  const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  ReadFlow(*dictionary, path, file);
  return Flow::ReadWorkflow(*dictionary);
}

std::string WhyVerb::ExplainNumber(const RunTale& tale, const RecordSet* records, std::uint64_t number) const {
  const Journal::Delivery* const delivery = tale.Find(number);
  if (delivery == nullptr) {
    throw FileError(ExitCode::Failed, file_, "", "run " + std::to_string(tale.run()) + " has no delivery " + what_);
  }
  return ExplainDelivery(tale, *delivery, records);
}

std::string WhyVerb::Explain(const RunTale& tale, const RecordSet* records) const {
  if (const std::optional<std::uint64_t> number = ParseSignalNumber(what_)) {
    return ExplainNumber(tale, records, *number);
  }
  const std::size_t dot = what_.find('.');
  const std::string instance = what_.substr(0, dot);
  const std::string signal = dot == std::string::npos ? "" : what_.substr(dot + 1);
  const bool has_run = !tale.To(instance, signal).empty();
  const Flow::Workflow workflow = has_run ? Flow::Workflow() : ReadWorkflow(tale);
  const std::optional<std::string> text = ExplainNode(tale, workflow, instance, signal, records);
  if (text) return *text;
  std::vector<std::string> names;
  for (const Flow::NodeType& type : workflow.types) {
    for (const Flow::Instance& known : type.instances) names.push_back(known.name);
  }
  throw FileError(ExitCode::Failed, file_, "", "no instance " + instance + Base::Suggest(instance, names));
}

}  // namespace

std::unique_ptr<Verb> MakeWhyVerb(CLI::App& program) { return std::make_unique<WhyVerb>(program); }

}  // namespace OrvWorkFlow::Program
