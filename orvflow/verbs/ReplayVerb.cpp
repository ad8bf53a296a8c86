// orvflow replay FILE: a recorded run once more with the plug-ins of now, and where that differs from the record.
#include <charconv>
#include <optional>

#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/replay/Replay.h"
#include "orvflow/replay/ReplayOutput.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr double kLongestLimit = 1'000'000;  // seconds

class ReplayVerb final : public Verb {
 public:
  explicit ReplayVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  void ReadOptions();
  ReplayPlan ReadPlan() const;
  void CheckPlan(const ReplayPlan& plan) const;
  ProgramError NoDelivery(const ReplayPlan& plan) const;

  std::string file_;
  std::optional<std::string> last_;
  std::string timeout_;
  std::vector<std::string> plugin_directories_;
  unsigned run_ = 0;
  ReplayOptions options_;
  bool as_json_ = false;
};

ReplayVerb::ReplayVerb(CLI::App& program)
    : Verb(program, "replay", "Does a recorded run again, and shows the first delivery that differs") {
  command().add_option("FILE", file_, "The record: of run --record, or the one beside a state")->type_name("");
  command().add_option("--to", last_, "Ends after the delivery of this number; else with the run")->type_name("N");
  command().add_option("--run", run_, "The record's run with this number; else the last one")->type_name("N");
  AddFlag("--act", options_.acts,
          "Also runs nodes again that act outside (on files, other programs, the network), or do not say "
          "whether they do");
  command()
      .add_option("--timeout", timeout_,
                  "Seconds that a delivery may take, beyond twice what it took then; else 60. Then the node is named, "
                  "exit code 1")
      ->type_name("S");
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  AddFlag("--json", as_json_, "JSON; docs/replay.schema.json describes it");
  command().footer(
      "Each delivery gets the dictionary as the record has it; the node's answer, what it fires and what it writes\n"
      "are compared with the record. Nothing of the run is touched. What nodes do that act outside, or on threads\n"
      "of their own, is taken from the record, and counted. Exit codes: 0 as recorded, 1 different, 4 a plug-in\n"
      "that cannot be loaded, 5 a damaged record.\n"
      "\n"
      "Example:\n"
      "  orvflow run flow.xml --record flow.record\n"
      "  orvflow replay flow.record\n"
      "  orvflow replay flow.record --to 17 --plugin-path build/new");
}

void ReplayVerb::ReadOptions() {
  if (file_.empty()) throw UsageError("no record given");
  if (last_) {
    options_.last = ParseSignalNumber(*last_);
    if (!options_.last || *options_.last == 0) {
      throw UsageError("--to " + *last_ + ": no delivery's number, such as 17 or +3");
    }
  }
  if (timeout_.empty()) return;
  double seconds = 0;
  const char* const end = timeout_.data() + timeout_.size();
  const std::from_chars_result result = std::from_chars(timeout_.data(), end, seconds);
  if (result.ec != std::errc() || result.ptr != end || !(seconds > 0) || seconds > kLongestLimit) {
    throw UsageError("--timeout " + timeout_ + ": no number of seconds, such as 60 or 0.5");
  }
  options_.limit = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000) + 1);
}

ReplayPlan ReplayVerb::ReadPlan() const {
  ReplayPlan plan(run_);
  RecordFile record(file_);
  record.ReadAll([&](const Journal::Event& event) { plan.Take(event); });
  if (plan.run() == 0) record.ThrowIfDamaged();
  CheckPlan(plan);
  return plan;
}

void ReplayVerb::CheckPlan(const ReplayPlan& plan) const {
  if (plan.run() == 0) {
    throw FileError(ExitCode::Failed, file_, "", run_ == 0 ? "holds no run" : "holds no run " + std::to_string(run_));
  }
  if (!plan.has_dictionary()) {
    throw FileError(ExitCode::Failed, file_, "",
                    "run " + std::to_string(plan.run()) +
                        " holds no dictionary: it was recorded by an older program, or was cut off before the "
                        "workflow was loaded");
  }
}

ProgramError ReplayVerb::NoDelivery(const ReplayPlan& plan) const {
  const std::string last = plan.last_ended() == 0
                               ? "; none has ended"
                               : "; the last one that ended is " + SignalNumberText(plan.last_ended());
  return FileError(ExitCode::Failed, file_, "",
                   "run " + std::to_string(plan.run()) + " has no end of a delivery " + *last_ + last);
}

ExitCode ReplayVerb::Execute() {
  ReadOptions();
  const ReplayPlan plan = ReadPlan();
  AddPluginDirectories(plugin_directories_);
  ReplayHost host;
  Replay replay(host, plan, options_, file_);
  RecordFile record(file_);
  Journal::Event event;
  bool is_over = false;
  // A run that goes on is replayed as far as it was when it was looked at first.
  for (std::uint64_t i = 0; i < plan.entries() && !is_over && record.reader().Next(&event); ++i) {
    is_over = replay.Take(event);
  }
  if (!is_over) {
    replay.Finish();
    if (options_.last && !replay.result().difference) {
      if (!record.reader().Next(&event)) record.ThrowIfDamaged();
      throw NoDelivery(plan);
    }
  }
  const ReplayResult& result = replay.result();
  WriteStandardOutput(as_json_ ? ReplayAsJson(result, plan) : ReplayAsText(result, plan));
  if (result.difference) return ExitCode::Failed;
  if (!is_over && !record.reader().Next(&event)) record.ThrowIfDamaged();
  return ExitCode::Done;
}

}  // namespace

std::unique_ptr<Verb> MakeReplayVerb(CLI::App& program) { return std::make_unique<ReplayVerb>(program); }

}  // namespace OrvWorkFlow::Program
