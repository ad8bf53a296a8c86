// orvflow run FLOW.xml: runs a workflow until it is idle, or continues one from its saved state.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>

#include "orvflow/files/KeyFile.h"
#include "orvflow/run/FlowRun.h"
#include "orvflow/terminal/ReportRequest.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/StopRequest.h"
#include "orvflow/trial/LibraryTrial.h"
#include "orvflow/verbs/TraceCategories.h"
#include "orvflow/verbs/Verb.h"
#include "orvflow/verbs/WatchOptions.h"

namespace OrvWorkFlow::Program {

namespace {

class RunVerb final : public Verb {
 public:
  explicit RunVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  using SecondsGiven = std::optional<std::chrono::duration<double>>;

  void ReadOptions();
  void CheckStandardInput() const;
  SecondsGiven ParseSeconds(const char* option, const std::string& text) const;
  Host::CheckpointSetting ParseCheckpoint() const;
  Durability ParseDurability() const;

  RunOptions options_;
  std::string checkpoint_;
  std::string durable_ = "process";
  std::vector<std::string> settings_;
  WatchOptions watch_options_;
};

RunVerb::RunVerb(CLI::App& program)
    : Verb(program, "run", "Runs a workflow until it is idle, or continues one from its saved state"),
      watch_options_(command()) {
  command()
      .add_option("FLOW.xml", options_.flow, "The workflow's dictionary file; - for standard input")
      ->type_name("");
  command()
      .add_option("--state", options_.state_file,
                  "Where the state is saved and continued from; else beside the flow, "
                  "<name>.state.xml")
      ->type_name("FILE");
  AddFlag("--fresh", options_.fresh, "Begins anew; a saved state is removed");
  AddFlag("--retry", options_.retry, "Continues, and delivers the signals that failed in earlier runs once more");
  AddFlag("--update", options_.update, "Continues, with what was added or changed in the flow file since");
  AddFlag("--force", options_.force, "Runs although errors were found that it cannot get past");
  command()
      .add_option(
          "--checkpoint", checkpoint_,
          "Saves the state every so many seconds, between two signals; 0 never. Else now and then, at 2 % of the "
          "run's time at most")
      ->type_name("S");
  command()
      .add_option("--absorb", options_.absorbs, "Takes another workflow in at the start; may be given several times")
      ->type_name("FILE")
      ->allow_extra_args(false);
  AddKeyFileOption(command(), options_.key_file);
  command()
      .add_option("--set", settings_, "Another value for an entry of the dictionary, for this run")
      ->type_name("/PATH=VALUE")
      ->allow_extra_args(false);
  command()
      .add_option("--record", options_.record_file,
                  "Records what happens in the run, also when it is killed, behind what the file holds already; "
                  "orvflow history, why and show tell of it")
      ->type_name("FILE");
  command()
      .add_option("--durable", durable_,
                  "What a run that is cut off goes on from: process, where it was (as without it); power, the same "
                  "when the machine goes down; or off, the state that was saved last")
      ->type_name("LEVEL");
  command()
      .add_option("--timeout", options_.timeout, "Stops the workflow after so many seconds, exit code 1")
      ->type_name("S");
  command()
      .add_option("--plugin-path", options_.plugin_directories, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  command().footer(
      "Runs until the workflow is idle. Ctrl-C stops it and saves its state, and the same command goes on.\n"
      "\n"
      "Example:\n"
      "  orvflow run flow.xml\n"
      "  orvflow run flow.xml --fresh --set /Backup/Source=/home --log run.log\n"
      "  orvflow run flow.xml --timeout 600");
}

ExitCode RunVerb::Execute() {
  if (watch_options_.WantsCategories()) {
    WriteStandardOutput(TraceCategoriesText());
    return ExitCode::Done;
  }
  if (options_.flow.empty()) throw UsageError("no workflow file given");
  const FlowRun::Watching watching{watch_options_.MakeLogOptions(), watch_options_.ProgressInterval()};
  ReadOptions();
  CheckStandardInput();
  if (HasSecrets(options_)) PrepareToTryLibraries();  // Which has none of them then.
  std::optional<KeyFile> key;                         // The host uses it to its end.
  if (!options_.key_file.empty()) key.emplace(options_.key_file);
  AddPluginDirectories(options_.plugin_directories);
  WatchForStopRequests();
  WatchForReportRequests();
  FlowSource source(options_.flow);
  return FlowRun(options_, source, key ? key->key() : nullptr, watching).Execute();
}

// What cannot be understood is refused before anything is done.
void RunVerb::ReadOptions() {
  options_.log_file = watch_options_.log_file();
  options_.page = watch_options_.MakePageOptions();
  options_.time_limit = ParseSeconds("--timeout", options_.timeout);
  options_.checkpoint = ParseCheckpoint();
  options_.durable = ParseDurability();
  if (options_.durable == Durability::Power && !options_.key_file.empty()) {
    throw UsageError(
        "--durable power needs a record, which would be in plain text beside an enciphered workflow; leave it out");
  }
  if (options_.fresh && (options_.retry || options_.update)) {
    throw UsageError(std::string(options_.retry ? "--retry" : "--update") +
                     " continues a saved state, and --fresh removes it; give one of them");
  }
  if (!options_.record_file.empty() && !options_.key_file.empty()) {
    throw UsageError(
        "--record would write names, values and failures of an enciphered workflow in plain text; leave it out");
  }
  for (const std::string& text : settings_) options_.settings.push_back(ParseSetting(text));
}

Durability RunVerb::ParseDurability() const {
  if (durable_ == "process") return Durability::Process;
  if (durable_ == "power") return Durability::Power;
  if (durable_ == "off") return Durability::Off;
  throw UsageError("--durable " + durable_ + ": there is no such level; process, power or off");
}

// It can be read once, holds plain text, and has no place where a state would be kept.
void RunVerb::CheckStandardInput() const {
  const auto& absorbs = options_.absorbs;
  if (std::any_of(absorbs.begin(), absorbs.end(), IsStandardStream)) {
    throw UsageError("--absorb -: only the flow can come from standard input; name a file");
  }
  if (!IsStandardStream(options_.flow)) return;
  if (!options_.key_file.empty()) throw UsageError("--key-file is for files, not for standard input");
  if (!options_.state_file.empty()) return;
  const bool is_fixed = options_.checkpoint.kind == Host::CheckpointSetting::Kind::Fixed;
  const char* const option = options_.retry    ? "--retry"
                             : options_.update ? "--update"
                             : is_fixed        ? "--checkpoint"
                                               : nullptr;
  if (option != nullptr) {
    throw UsageError(std::string(option) +
                     " needs a state, and a flow from standard input has none; name one with "
                     "--state");
  }
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

Host::CheckpointSetting RunVerb::ParseCheckpoint() const {
  if (checkpoint_.empty()) return {Host::CheckpointSetting::Kind::Adapted, {}, {}};
  if (checkpoint_ == "0") return {};
  return {Host::CheckpointSetting::Kind::Fixed, *ParseSeconds("--checkpoint", checkpoint_), {}};
}

}  // namespace

std::unique_ptr<Verb> MakeRunVerb(CLI::App& program) { return std::make_unique<RunVerb>(program); }

}  // namespace OrvWorkFlow::Program
