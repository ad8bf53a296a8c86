// orvflow run FLOW.xml: runs a workflow until it is idle, or continues one from its saved state.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "orvflow/BoxPrinter.h"
#include "orvflow/DictionaryReading.h"
#include "orvflow/FlowCheck.h"
#include "orvflow/FlowUpdate.h"
#include "orvflow/HostFiles.h"
#include "orvflow/KeyFile.h"
#include "orvflow/Outcome.h"
#include "orvflow/ReportRequest.h"
#include "orvflow/RunRecords.h"
#include "orvflow/RunWatch.h"
#include "orvflow/Setting.h"
#include "orvflow/StandardStreams.h"
#include "orvflow/StateFile.h"
#include "orvflow/StatusLine.h"
#include "orvflow/StopRequest.h"
#include "orvflow/StoppableRun.h"
#include "orvflow/TraceCategories.h"
#include "orvflow/Verb.h"
#include "orvflow/WatchOptions.h"
#include "orvflow/WorkflowHost.h"
#include "orvflow/WriteDirectory.h"

namespace OrvWorkFlow::Program {

namespace {

using Clock = std::chrono::steady_clock;

// "1 signal", "2 signals".
std::string Count(std::uint64_t number, const std::string& thing) {
  return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

// Seconds with one decimal.
std::string Seconds(Clock::duration time) {
  const auto tenths = std::chrono::duration_cast<std::chrono::milliseconds>(time).count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

std::string Describe(const WorkflowHost::Backlog& backlog) {
  return Count(backlog.waiting, "signal") + " waiting, " + std::to_string(backlog.undelivered) + " undelivered, " +
         Count(backlog.busy, "node") + " busy";
}

// The workflows that a saved state has absorbed, by name.
std::vector<std::string> AbsorbedNames(IDictionary& state) {
  std::vector<std::string> names;
  for (const std::string& entry : NamesBelow(state, WorkflowSchema::kWorkFlows)) {
    names.push_back(
        TextAt(state, std::string(WorkflowSchema::kWorkFlows) + "/" + entry + WorkflowSchema::kWorkFlowRecordName));
  }
  return names;
}

// The watch is told of each save.
void NoteSaves(WorkflowHost::Limits& limits, RunWatch& watch) {
  limits.after_save = [after_save = std::move(limits.after_save), &watch] {
    if (after_save) after_save();
    watch.NoteSave();
  };
}

class RunVerb final : public Verb {
 public:
  explicit RunVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  using SecondsGiven = std::optional<std::chrono::duration<double>>;

  // What is run, once everything that can be wrong with it was looked for.
  struct Plan {
    std::string flow;   // from the root of the host's file system, as the next two
    std::string start;  // what the engine loads: the flow or the saved state
    std::vector<std::string> absorbs;
    std::string name;
    std::string checksum;  // of the flow file that the workflow began with
    bool continued = false;
    std::vector<Setting> settings;
  };

  SecondsGiven ParseSeconds(const char* option, const std::string& text) const;
  CheckpointPlan::Setting ParseCheckpoint() const;
  std::vector<Setting> Settings() const;
  Plan MakePlan(const WorkflowHost& host, const StateFile& state) const;
  void PlanContinuation(Plan& plan, const WorkflowHost& host, IDictionary& dictionary, const StateFile& state) const;
  void PlanAbsorbs(Plan& plan, const WorkflowHost& host, IDictionary& dictionary) const;
  void BeginAnew(const StateFile& state) const;
  void SayThatNoStateIsKept(const StateFile& state) const;
  void KeepFiles(WorkflowHost& host, const Plan& plan, const StateFile& state) const;
  void Load(WorkflowHost& host, const Plan& plan) const;
  WorkflowHost::Limits MakeLimits(const StateFile& state, RunWatch& watch) const;
  ExitCode Report(const WorkflowHost::Result& result, const WorkflowHost& host, const StateFile& state,
                  const RunRecords& records, unsigned failures) const;
  ExitCode ReportFinished(const WorkflowHost::Result& result, const StateFile& state, const RunRecords& records,
                          unsigned failures) const;
  ExitCode ReportStopped(const WorkflowHost::Result& result, IDictionary& dictionary, const StateFile& state) const;

  std::string flow_;
  std::string state_file_;
  bool fresh_ = false;
  bool retry_ = false;
  bool update_ = false;
  std::string checkpoint_;
  std::vector<std::string> absorbs_;
  std::string key_file_;
  std::string timeout_;
  std::vector<std::string> plugin_directories_;
  std::vector<std::string> settings_;
  WatchOptions watch_options_;
};

RunVerb::RunVerb(CLI::App& program)
    : Verb(program, "run", "Runs a workflow until it is idle, or continues one from its saved state"),
      watch_options_(command()) {
  command().add_option("FLOW.xml", flow_, "The workflow's dictionary file")->type_name("");
  command()
      .add_option("--state", state_file_,
                  "Where the state is saved and continued from; else beside the flow, "
                  "<name>.state.xml")
      ->type_name("FILE");
  command().add_flag("--fresh", fresh_, "Begins anew; a saved state is removed");
  command().add_flag("--retry", retry_, "Continues, and delivers the signals that failed in earlier runs once more");
  command().add_flag("--update", update_, "Continues, with what was added or changed in the flow file since");
  command()
      .add_option(
          "--checkpoint", checkpoint_,
          "Saves the state every so many seconds, between two signals; 0 never. Else now and then, at 2 % of the "
          "run's time at most")
      ->type_name("S");
  command()
      .add_option("--absorb", absorbs_, "Takes another workflow in at the start; may be given several times")
      ->type_name("FILE")
      ->allow_extra_args(false);
  AddKeyFileOption(command(), key_file_);
  command()
      .add_option("--set", settings_, "Another value for an entry of the dictionary, for this run")
      ->type_name("/PATH=VALUE")
      ->allow_extra_args(false);
  command().add_option("--timeout", timeout_, "Stops the workflow after so many seconds, exit code 1")->type_name("S");
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
}

ExitCode RunVerb::Execute() {
  if (watch_options_.WantsCategories()) {
    WriteStandardOutput(TraceCategoriesText());
    return ExitCode::Done;
  }
  if (flow_.empty()) throw UsageError("no workflow file given");
  const LogOptions log_options = watch_options_.MakeLogOptions();
  const SecondsGiven progress = watch_options_.ProgressInterval();
  const SecondsGiven time_limit = ParseSeconds("--timeout", timeout_);
  ParseCheckpoint();
  if (fresh_ && (retry_ || update_)) {
    throw UsageError(std::string(retry_ ? "--retry" : "--update") +
                     " continues a saved state, and --fresh removes it; give one of them");
  }
  Settings();                  // Refused before anything else is done.
  std::optional<KeyFile> key;  // The host uses it to its end.
  if (!key_file_.empty()) key.emplace(key_file_);
  AddPluginDirectories(plugin_directories_);
  WatchForStopRequests();
  WatchForReportRequests();

  BoxPrinter boxes(flow_);
  std::optional<RunWatch> watch;  // Made when nothing can be refused any more, and gone after the host.
  const Clock::time_point start = Clock::now();
  std::optional<WorkflowHost> host;
  try {
    host.emplace();
  } catch (const std::runtime_error& error) {
    throw ProgramError(ExitCode::PluginBroken, error.what());
  }
  if (key) host->UseKey(key->key());
  SetActivity("while the flow and its state were read");
  const StateFile state(flow_, state_file_);
  const Plan plan = MakePlan(*host, state);
  watch.emplace(RunWatch::Settings{log_options, progress, flow_, state.path()}, boxes);
  host->AddObserver(watch->record());
  if (watch->logger() != nullptr) host->UseLogger(*watch->logger());
  SayThatNoStateIsKept(state);
  if (fresh_) BeginAnew(state);
  if (retry_) RetryKeptSignals(*host, state, plan.name);
  if (update_ && plan.continued) UpdateSavedState(*host, state, plan.name, plan.flow);
  std::optional<RunRecords> records(std::in_place, *host, state, flow_);
  SetActivity("while the workflow was loaded");
  KeepFiles(*host, plan, state);
  const Clock::time_point load_start = Clock::now();
  Load(*host, plan);
  const Clock::duration load_time = Clock::now() - load_start;
  WriteDirectory write_directory(*host, plan.flow);
  if (!plan.continued) write_directory.BeginAnew();
  if (plan.continued) {
    std::printf("%s: continues from %s\n", Visible(plan.name).c_str(), Visible(state.shown_name()).c_str());
  }
  std::fflush(stdout);
  WorkflowHost::Limits limits = MakeLimits(state, *watch);
  limits.time_limit = time_limit;
  limits.checkpoint.expected_cost = load_time;
  records->AddTo(limits);
  SetActivity("while the workflow ran");
  NoteSaves(limits, *watch);
  std::optional<RunWatch::Showing> showing(
      std::in_place, *watch, plan.name,
      flow_ + (plan.continued ? ": continues from " + state.shown_name() : ": begins"), host->mediator());
  const WorkflowHost::Result result = RunUntilStopped(*host, limits, flow_);
  showing.reset();
  SetActivity("at the end of the run");
  if (result.end == WorkflowHost::End::Idle) write_directory.EndRun();

  const ISignalMediator::Statistics statistics = host->GetStatistics();
  const unsigned failures =
      std::max<unsigned>(statistics.failures, watch->CountFailures()) + watch->TellUntaken(host->dictionary());
  boxes.PrintRepeated();
  const ExitCode code = Report(result, *host, state, *records, failures);
  records.reset();
  host.reset();
  const std::string summary = Count(statistics.finished, "signal") + " delivered, " + Count(statistics.nodes, "node") +
                              " made, " + Count(failures, "failure") + ", " + Seconds(Clock::now() - start);
  std::printf("%s: %s\n", Visible(plan.name).c_str(), summary.c_str());
  std::fflush(stdout);
  watch->WriteLog(flow_ + ": " + summary + ", exit code " + std::to_string(static_cast<int>(code)));
  if (watch->FinishLog()) return code;
  return code == ExitCode::Done ? ExitCode::Failed : code;
}

RunVerb::SecondsGiven RunVerb::ParseSeconds(const char* option, const std::string& text) const {
  if (text.empty()) return std::nullopt;
  double seconds = 0;
  const char* end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, seconds);
  const bool is_number = result.ec == std::errc() && result.ptr == end;
  if (!is_number || !(seconds > 0)) {
    throw UsageError(std::string(option) + " " + text + ": not a number of seconds above 0");
  }
  return std::chrono::duration<double>(seconds);
}

CheckpointPlan::Setting RunVerb::ParseCheckpoint() const {
  if (checkpoint_.empty()) return {CheckpointPlan::Kind::Adapted, {}, {}};
  if (checkpoint_ == "0") return {};
  return {CheckpointPlan::Kind::Fixed, *ParseSeconds("--checkpoint", checkpoint_), {}};
}

std::vector<Setting> RunVerb::Settings() const {
  std::vector<Setting> settings;
  for (const std::string& text : settings_) settings.push_back(ParseSetting(text));
  return settings;
}

// Everything that can be wrong is found on dictionaries apart, before the engine touches anything.
RunVerb::Plan RunVerb::MakePlan(const WorkflowHost& host, const StateFile& state) const {
  Plan plan;
  plan.flow = MakeAbsolutePath(flow_);
  plan.start = plan.flow;
  plan.settings = Settings();
  const WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  ReadFlow(*dictionary, plan.flow, flow_);
  plan.checksum = ChecksumOfFile(plan.flow, flow_);
  plan.name = TextAt(*dictionary, WorkflowSchema::kWorkFlowName);
  plan.continued = !fresh_ && state.Exists();
  if (plan.continued) PlanContinuation(plan, host, *dictionary, state);
  const std::string& source = plan.continued ? state.shown_name() : flow_;
  for (const Setting& setting : plan.settings) ApplySetting(*dictionary, setting, source);
  CheckFlow(*dictionary, source, {.takes_in_others = !absorbs_.empty(), .is_continued = plan.continued});
  PlanAbsorbs(plan, host, *dictionary);
  if (plan.name.empty()) plan.name = flow_;
  if (!state.CanBeWritten() &&
      (ParseCheckpoint().kind == CheckpointPlan::Kind::Fixed || !state_file_.empty() || plan.continued)) {
    throw FileError(ExitCode::Failed, state.shown_name(), "",
                    "the state cannot be saved there: " + state.why_not_written() + "; check the folder");
  }
  return plan;
}

// The dictionary becomes that of the state.
void RunVerb::PlanContinuation(Plan& plan, const WorkflowHost& host, IDictionary& dictionary,
                               const StateFile& state) const {
  state.Read(dictionary, plan.name);
  plan.start = state.path();
  const std::string checksum = ReadFlowChecksum(dictionary);
  if (update_) {
    ShowFlowUpdate(host, dictionary, plan.flow, flow_, state);
    return;
  }
  if (checksum != plan.checksum) {
    PrintErrorLine(flow_ + ": has changed since " + state.shown_name() +
                   " was saved; the state is continued as it was saved (--update takes the changes in, --fresh begins "
                   "anew)");
  }
  plan.checksum = checksum;
}

// What the state has absorbed is part of it, and is not taken in again.
void RunVerb::PlanAbsorbs(Plan& plan, const WorkflowHost& host, IDictionary& dictionary) const {
  std::vector<std::string> known;
  if (plan.continued) known = AbsorbedNames(dictionary);
  for (const std::string& shown_name : absorbs_) {
    const WorkflowHost::OwnedDictionary flow = host.MakeDictionary();
    const std::string file = MakeAbsolutePath(shown_name);
    ReadFlow(*flow, file, shown_name);
    const std::string name = TextAt(*flow, WorkflowSchema::kWorkFlowName);
    if (name.empty()) {
      throw FileError(ExitCode::DictionaryDamaged, shown_name, WorkflowSchema::kWorkFlowName,
                      "only a workflow with a name can be absorbed; give it one");
    }
    CheckFlow(*flow, shown_name, {.is_guest = true});
    if (std::find(known.begin(), known.end(), name) == known.end()) plan.absorbs.push_back(file);
  }
}

void RunVerb::BeginAnew(const StateFile& state) const {
  const std::string why = state.Remove();
  if (!why.empty()) throw FileError(ExitCode::Failed, state.shown_name(), "", "cannot be removed: " + why);
  ForgetDeaths(state);
}

void RunVerb::SayThatNoStateIsKept(const StateFile& state) const {
  if (state.CanBeWritten()) return;
  PrintErrorLine(state.shown_name() + ": no state can be kept there: " + state.why_not_written() +
                 "; a run that is stopped begins anew (--state names another place)");
}

// Nothing that the run needs is taken for what its nodes have written; nor is anything deleted but by this program.
void RunVerb::KeepFiles(WorkflowHost& host, const Plan& plan, const StateFile& state) const {
  host.engine().KeepTemporaryData(true);
  std::vector<std::string> files = plan.absorbs;
  files.insert(files.end(), {plan.flow, state.path()});
  for (const std::string& name : {key_file_, watch_options_.log_file()}) {
    if (!name.empty()) files.push_back(MakeAbsolutePath(name));
  }
  for (const std::string& directory : plugin_directories_) files.push_back(MakeAbsolutePath(directory));
  for (const std::string& file : files) {
    if (!host.mediator().KeepFromDeletion(file.c_str())) throw std::bad_alloc();
  }
}

void RunVerb::Load(WorkflowHost& host, const Plan& plan) const {
  if (!host.LoadWorkflow(plan.start.c_str())) {
    // It was read whole a moment ago.
    throw FileError(ExitCode::Failed, plan.start, "", "the engine cannot load it now; the file may be whole");
  }
  host.engine().SetWorkFlowFilePath(plan.flow.c_str());
  for (const Setting& setting : plan.settings) ApplySetting(host.dictionary(), setting, flow_);
  WriteFlowChecksum(host.dictionary(), plan.checksum);
  // The engine read the start signal before the settings came.
  const std::string start = WorkflowSchema::kStartSignal;
  host.engine().SetStartSignal(TextAt(host.dictionary(), start + WorkflowSchema::kReceiverTypeName).c_str(),
                               TextAt(host.dictionary(), start + WorkflowSchema::kReceiverInstanceName).c_str(),
                               TextAt(host.dictionary(), start + WorkflowSchema::kIncomingSignalName).c_str());
  if (!host.LoadNodes()) throw FileError(ExitCode::Failed, flow_, "", "the work nodes cannot be loaded");
  for (const std::string& file : plan.absorbs) {
    if (!host.engine().AbsorbFlow(file.c_str(), true)) {
      throw FileError(ExitCode::Failed, file, "", "the workflow cannot be absorbed");
    }
  }
}

WorkflowHost::Limits RunVerb::MakeLimits(const StateFile& state, RunWatch& watch) const {
  WorkflowHost::Limits limits;
  limits.wants_stop = [] { return RequestedStop() != StopRequest::None; };
  limits.stuck = [this, &watch] {
    try {
      PrintErrorLine(flow_ + ": not idle after " + timeout_ + " s, and a node does not return; ended without it");
      watch.FinishLog();
      StatusLine::Finish();
    } catch (...) {  // Without memory there is no line, but an end.
    }
    std::_Exit(static_cast<int>(ExitCode::Failed));
  };
  if (state.CanBeWritten()) limits.state_file = state.path();
  limits.save = [&state](IWorkFlowEngine& engine) {
    return state.Save([&engine](const char* file) { return engine.SaveState(file); });
  };
  limits.checkpoint = ParseCheckpoint();
  limits.checkpoint_failed = [&state] {
    PrintErrorLine(state.shown_name() +
                   ": the checkpoint was not saved; the workflow goes on, and the file holds the "
                   "state that was saved before, if any");
  };
  return limits;
}

ExitCode RunVerb::Report(const WorkflowHost::Result& result, const WorkflowHost& host, const StateFile& state,
                         const RunRecords& records, unsigned failures) const {
  const std::string backlog = Describe(result.backlog);
  switch (result.end) {
    case WorkflowHost::End::Idle: {
      const bool is_done = ReportOutcome(host.dictionary(), flow_);
      const ExitCode code = ReportFinished(result, state, records, failures);
      return is_done || code != ExitCode::Done ? code : ExitCode::Failed;
    }
    case WorkflowHost::End::Stopped:
    case WorkflowHost::End::Restart:
      return ReportStopped(result, host.dictionary(), state);
    case WorkflowHost::End::TimedOut:
      PrintErrorLine(flow_ + ": stopped, not idle after " + timeout_ + " s (" + backlog + ")" +
                     (result.saved ? ", saved in " + state.shown_name() + "; run it again to continue" : ""));
      return ExitCode::Failed;
    case WorkflowHost::End::EngineDied:
      PrintErrorLine(flow_ + ": the engine's thread has ended (" + backlog + ")");
      return ExitCode::Failed;
    case WorkflowHost::End::Broken:
      PrintErrorLine(flow_ + ": the run has failed: " + result.problem);
      return ExitCode::Failed;
    case WorkflowHost::End::NotStarted:
      PrintErrorLine(flow_ + ": the engine could not be started");
      return ExitCode::Failed;
  }
  return ExitCode::Failed;
}

// Unless signals have failed nothing is left to continue, and the next run begins anew.
ExitCode RunVerb::ReportFinished(const WorkflowHost::Result& result, const StateFile& state, const RunRecords& records,
                                 unsigned failures) const {
  if (result.saved && records.ReportKept()) return ExitCode::Failed;
  if (!result.saved && records.HasNew()) {
    PrintErrorLine(state.shown_name() + ": the signals that failed cannot be saved; the file stays as it was, if any");
    return ExitCode::Failed;
  }
  const std::string why = state.CanBeWritten() ? state.Remove() : "";
  if (!why.empty()) {
    PrintErrorLine(state.shown_name() + ": the workflow has finished, but its saved state cannot be removed: " + why);
    return ExitCode::Failed;
  }
  return failures == 0 ? ExitCode::Done : ExitCode::Failed;
}

ExitCode RunVerb::ReportStopped(const WorkflowHost::Result& result, IDictionary& dictionary,
                                const StateFile& state) const {
  const bool restart = result.end == WorkflowHost::End::Restart;
  const StopRequest request = RequestedStop();
  const std::string line = flow_ + ": stopped by " + (restart ? "a node's wish to restart" : NameOf(request));
  if (result.saved) {
    const std::size_t nodes = NamesBelow(dictionary, WorkflowSchema::kRebootSignals).size();
    PrintErrorLine(line + ", saved in " + state.shown_name() + " (" + Count(result.backlog.waiting, "signal") +
                   " waiting, " + Count(nodes, "node") + " to go on); run it again to continue");
    return ExitCode::Resumable;
  }
  PrintErrorLine(line + ", not saved (" + Describe(result.backlog) + ")");
  if (restart) return ExitCode::Failed;
  return request == StopRequest::Interrupt ? ExitCode::Interrupted : ExitCode::Terminated;
}

}  // namespace

std::unique_ptr<Verb> MakeRunVerb(CLI::App& program) { return std::make_unique<RunVerb>(program); }

}  // namespace OrvWorkFlow::Program
