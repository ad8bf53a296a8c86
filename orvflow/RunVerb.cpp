// orvflow run FLOW.xml: runs a workflow until it is idle.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "orvflow/BoxPrinter.h"
#include "orvflow/FlowCheck.h"
#include "orvflow/HostFiles.h"
#include "orvflow/Setting.h"
#include "orvflow/StopRequest.h"
#include "orvflow/Tracing.h"
#include "orvflow/Verb.h"
#include "orvflow/WorkflowHost.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Program {

namespace {

using Clock = std::chrono::steady_clock;

std::string TextAt(IDictionary& dictionary, const std::string& path) {
  return TextFrom([&](IOrvPString* text) { return dictionary.GetValue(path.c_str(), text); });
}

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

class RunVerb final : public Verb {
 public:
  explicit RunVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::optional<std::chrono::duration<double>> TimeLimit() const;
  std::vector<Setting> Settings() const;
  std::optional<std::string> TraceCategory() const;
  void Check(const WorkflowHost& host, const std::string& file, const std::vector<Setting>& settings) const;
  void Load(WorkflowHost& host, const std::string& file, const std::vector<Setting>& settings) const;
  WorkflowHost::Limits MakeLimits(Tracing& tracing) const;
  ExitCode Report(const WorkflowHost::Result& result, unsigned failures) const;

  std::string flow_;
  std::string trace_;
  std::string log_file_;
  std::string timeout_;
  std::vector<std::string> plugin_directories_;
  std::vector<std::string> settings_;
};

RunVerb::RunVerb(CLI::App& program) : Verb(program, "run", "Runs a workflow until it is idle") {
  command().add_option("FLOW.xml", flow_, "The workflow's dictionary file")->type_name("");
  command()
      .add_option("--set", settings_, "Another value for an entry of the dictionary, for this run")
      ->type_name("/PATH=VALUE")
      ->allow_extra_args(false);
  command().add_flag(
      "--trace", trace_,
      "Shows the log on standard error; with =CATEGORY only categories that begin so, e.g. workflow/Signal");
  command().add_option("--log", log_file_, "Writes the log to a file")->type_name("FILE");
  command().add_option("--timeout", timeout_, "Stops the workflow after so many seconds, exit code 1")->type_name("S");
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
}

ExitCode RunVerb::Execute() {
  if (flow_.empty()) throw UsageError("no workflow file given");
  const std::optional<std::chrono::duration<double>> time_limit = TimeLimit();
  const std::vector<Setting> settings = Settings();
  AddPluginDirectories(plugin_directories_);
  WatchForStopRequests();

  const std::string file = MakeAbsolutePath(flow_);
  BoxPrinter boxes(flow_);
  std::optional<Tracing> tracing;  // Made when nothing can be refused any more, and gone after the host.
  const Clock::time_point start = Clock::now();
  std::optional<WorkflowHost> host;
  try {
    host.emplace();
  } catch (const std::runtime_error& error) {
    throw ProgramError(ExitCode::PluginBroken, error.what());
  }
  Check(*host, file, settings);
  tracing.emplace(TraceCategory(), log_file_);
  if (tracing->logger() != nullptr) host->UseLogger(*tracing->logger());
  Load(*host, file, settings);
  WorkflowHost::Limits limits = MakeLimits(*tracing);
  limits.time_limit = time_limit;
  const WorkflowHost::Result result = host->Run(limits);

  const ISignalMediator::Statistics statistics = host->GetStatistics();
  const unsigned failures = std::max<unsigned>(statistics.failures, boxes.count());
  std::string name = TextAt(host->dictionary(), WorkflowSchema::kWorkFlowName);
  if (name.empty()) name = flow_;
  host.reset();
  const ExitCode code = Report(result, failures);
  std::printf("%s: %s delivered, %s made, %s, %s\n", name.c_str(), Count(statistics.finished, "signal").c_str(),
              Count(statistics.nodes, "node").c_str(), Count(failures, "failure").c_str(),
              Seconds(Clock::now() - start).c_str());
  std::fflush(stdout);
  if (!tracing->Flush()) throw ProgramError(ExitCode::Failed, "the log is not complete; is the disk full?");
  return code;
}

std::optional<std::chrono::duration<double>> RunVerb::TimeLimit() const {
  if (timeout_.empty()) return std::nullopt;
  double seconds = 0;
  const char* end = timeout_.data() + timeout_.size();
  const std::from_chars_result result = std::from_chars(timeout_.data(), end, seconds);
  const bool is_number = result.ec == std::errc() && result.ptr == end;
  if (!is_number || !(seconds > 0)) throw UsageError("--timeout " + timeout_ + ": not a number of seconds above 0");
  return std::chrono::duration<double>(seconds);
}

std::vector<Setting> RunVerb::Settings() const {
  std::vector<Setting> settings;
  for (const std::string& text : settings_) settings.push_back(ParseSetting(text));
  return settings;
}

std::optional<std::string> RunVerb::TraceCategory() const {
  if (command().count("--trace") == 0) return std::nullopt;
  return trace_ == "true" ? "" : trace_;  // What a flag without a value gives.
}

// Everything that can be wrong is found on a dictionary apart, before the engine touches anything.
void RunVerb::Check(const WorkflowHost& host, const std::string& file, const std::vector<Setting>& settings) const {
  const WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  ReadFlow(*dictionary, file, flow_);
  for (const Setting& setting : settings) ApplySetting(*dictionary, setting, flow_);
  CheckWorkflow(*dictionary, flow_);
  CheckPlugins(*dictionary, flow_);
}

void RunVerb::Load(WorkflowHost& host, const std::string& file, const std::vector<Setting>& settings) const {
  if (!host.LoadWorkflow(file.c_str())) {
    throw FileError(ExitCode::DictionaryDamaged, flow_, "", "the engine cannot load it");
  }
  for (const Setting& setting : settings) ApplySetting(host.dictionary(), setting, flow_);
  // The engine read the start signal before the settings came.
  const std::string start = WorkflowSchema::kStartSignal;
  host.engine().SetStartSignal(TextAt(host.dictionary(), start + WorkflowSchema::kReceiverTypeName).c_str(),
                               TextAt(host.dictionary(), start + WorkflowSchema::kReceiverInstanceName).c_str(),
                               TextAt(host.dictionary(), start + WorkflowSchema::kIncomingSignalName).c_str());
  if (!host.LoadNodes()) throw FileError(ExitCode::Failed, flow_, "", "the work nodes cannot be loaded");
}

WorkflowHost::Limits RunVerb::MakeLimits(Tracing& tracing) const {
  WorkflowHost::Limits limits;
  limits.wants_stop = [] { return RequestedStop() != StopRequest::None; };
  limits.stuck = [this, &tracing] {
    PrintErrorLine(flow_ + ": not idle after " + timeout_ + " s, and a node does not return; ended without it");
    tracing.Flush();
    std::_Exit(static_cast<int>(ExitCode::Failed));
  };
  return limits;
}

ExitCode RunVerb::Report(const WorkflowHost::Result& result, unsigned failures) const {
  const std::string backlog = Describe(result.backlog);
  switch (result.end) {
    case WorkflowHost::End::Idle:
      return failures == 0 ? ExitCode::Done : ExitCode::Failed;
    case WorkflowHost::End::Stopped: {
      const bool interrupted = RequestedStop() == StopRequest::Interrupt;
      PrintErrorLine(flow_ + ": stopped by " + (interrupted ? "Ctrl-C" : "SIGTERM") + " (" + backlog + ")");
      return interrupted ? ExitCode::Interrupted : ExitCode::Terminated;
    }
    case WorkflowHost::End::TimedOut:
      PrintErrorLine(flow_ + ": stopped, not idle after " + timeout_ + " s (" + backlog + ")");
      return ExitCode::Failed;
    case WorkflowHost::End::EngineDied:
      PrintErrorLine(flow_ + ": the engine's thread has ended (" + backlog + ")");
      return ExitCode::Failed;
    case WorkflowHost::End::NotStarted:
      PrintErrorLine(flow_ + ": the engine could not be started");
      return ExitCode::Failed;
  }
  return ExitCode::Failed;
}

}  // namespace

std::unique_ptr<Verb> MakeRunVerb(CLI::App& program) { return std::make_unique<RunVerb>(program); }

}  // namespace OrvWorkFlow::Program
