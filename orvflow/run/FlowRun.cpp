#include "orvflow/run/FlowRun.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/text/Counting.h"
#include "host/HostParts.h"
#include "host/files/HostFiles.h"
#include "host/state/FileLock.h"
#include "host/state/RunRecords.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/run/FlowUpdate.h"
#include "orvflow/run/KeptSignals.h"
#include "orvflow/run/Outcome.h"
#include "orvflow/run/RunEnding.h"
#include "orvflow/run/StoppableRun.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/terminal/StatusLine.h"
#include "orvflow/terminal/StopRequest.h"
#include "orvflow/trial/LibraryTrial.h"
#include "orvflow/trial/TrialProcess.h"

namespace OrvWorkFlow::Program {

namespace {

// With one decimal.
std::string Seconds(std::chrono::nanoseconds time) {
  const auto tenths = std::chrono::duration_cast<std::chrono::milliseconds>(time).count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

void BeginAnew(const Host::StateFile& state) {
  const std::string why = state.Remove();
  if (!why.empty()) throw FileError(ExitCode::Failed, state.shown_name(), "", "cannot be removed: " + why);
  Host::ForgetDeaths(state);
}

void SayThatNoStateIsKept(const Host::StateFile& state, const std::string& flow) {
  if (state.CanBeWritten()) return;
  if (!state.IsNamed()) {
    PrintErrorLine(flow + ": no state is kept; a run that is stopped begins anew (--state names a place)");
    return;
  }
  PrintErrorLine(state.shown_name() + ": no state can be kept there: " + state.why_not_written() +
                 "; a run that is stopped begins anew (--state names another place)");
}

}  // namespace

FlowRun::FlowRun(const RunOptions& options, FlowSource& source, const char* key, Watching watching)
    : options_(options),
      source_(source),
      key_(key),
      watching_(std::move(watching)),
      shown_name_(source.shown_name()),
      boxes_(shown_name_) {}

ExitCode FlowRun::Execute() {
  if (options_.page) page_.emplace(*options_.page, key_ == nullptr);
  MakeHost();
  Prepare();
  ChangeState();
  LoadRecorded();
  const Host::RunResult result = Run();
  SetActivity("at the end of the run");
  return Finish(result);
}

void FlowRun::MakeHost() {
  SetActivity("while the library was loaded");
  host_.emplace();
  if (!HasSecrets(options_)) PrepareToTryLibraries(host_);
  host_->TellWith(PrintErrorLine);
  if (key_ != nullptr) host_->UseKey(key_);
}

void FlowRun::Prepare() {
  SetActivity("while the flow and its state were read");
  if (IsStandardStream(options_.flow) && options_.state_file.empty()) {
    state_.emplace();
  } else {
    state_.emplace(options_.flow, options_.state_file, PrintErrorLine, kStateWords);
  }
  host_->UseState(*state_);
  PrepareStateRecord();
  plan_ = MakeRunPlan(options_, source_, *host_, *state_);
  watch_.emplace(RunWatch::Settings{watching_.log, watching_.progress, shown_name_, state_->path()}, boxes_);
  host_->AddObserver(watch_->record());
  if (page_) watch_->record().KeepDeliveries();
  if (!options_.record_file.empty()) {
    record_.emplace(Host::MakeAbsolutePath(options_.record_file), options_.record_file);
    host_->AddObserver(*record_);
    if (record_->is_torn()) {
      PrintErrorLine(options_.record_file +
                     ": the machine went down during an earlier run, whose end was not on the disk; this one is "
                     "recorded behind what was");
    }
  }
  OpenStateRecord();
  if (watch_->logger() != nullptr) host_->UseLogger(*watch_->logger());
  SayThatNoStateIsKept(*state_, shown_name_);
  AwaitEndOfTrial();
}

void FlowRun::OpenStateRecord() {
  const bool is_power = options_.durable == Durability::Power;
  Journal::RunRecord* record = nullptr;
  if (state_record_ && options_.durable != Durability::Off && key_ == nullptr) {
    state_record_->Open({ORVFLOW_VERSION, ORVFLOW_PLATFORM, plan_.flow, plan_.continued});
    record = state_record_->record();
    if (record != nullptr) host_->AddObserver(*record);
  } else if (state_record_) {
    state_record_->Remove();  // What it said is in the state.
  }
  if (record != nullptr) {
    const auto await_record = [](void* self) { return static_cast<FlowRun*>(self)->AwaitRecord(); };
    const auto awaits_itself = [](void* self, const char* type, const char* instance) {
      FlowRun& run = *static_cast<FlowRun*>(self);
      if (run.durable_) run.durable_->Exempt(type, instance);
    };
    host_->parts().objects.host_app().SetRecord(await_record, awaits_itself, this);
  }
  if (!is_power) return;
  if (record == nullptr) {
    throw FileError(ExitCode::Failed, shown_name_, "",
                    "--durable power needs a state and its record, which cannot be kept" +
                        (state_->CanBeWritten() ? std::string() : ": " + state_->why_not_written()) +
                        "; name a place with --state");
  }
  durable_.emplace(*host_, shown_name_);
  host_->AddObserver(*durable_);
  watch_->ShowDurable([this] { return durable_->deliveries(); });
}

// On threads of nodes, as long as there is the host.
bool FlowRun::AwaitRecord() { return durable_ ? durable_->Await() : state_record_->record()->GetMark().is_on; }

// What a run that was cut off has done is in the state before anybody looks at that.
void FlowRun::PrepareStateRecord() {
  if (!state_->CanBeWritten()) return;
  state_record_.emplace(*host_, *state_, shown_name_);
  if (options_.fresh) {
    state_record_->Remove();
  } else {
    state_record_->Recover();
  }
}

void FlowRun::ChangeState() {
  if (options_.fresh && state_->IsNamed()) BeginAnew(*state_);
  if (options_.retry) RetryKeptSignals(*host_, *state_, plan_.name);
  if (options_.update && plan_.continued) UpdateSavedState(*host_, *state_, plan_.name, plan_.file);
}

void FlowRun::Load() {
  SetActivity("while the workflow was loaded");
  KeepFilesOfRun(options_, plan_, *host_);
  if (record_) {
    record_->Begin(
        {ORVFLOW_VERSION, ORVFLOW_PLATFORM, plan_.flow, plan_.continued, host_->parts().delivery_keys.run()});
  }
  const Clock::time_point begin = Clock::now();
  LoadRun(options_, source_, plan_, *host_);
  load_time_ = Clock::now() - begin;
  source_.Forget();
  write_directory_.emplace(*host_, plan_.flow);
  if (!plan_.continued) write_directory_->BeginAnew();
  if (plan_.continued) {
    std::printf("%s: continues from %s\n", Visible(plan_.name).c_str(), Visible(state_->shown_name()).c_str());
  }
  std::fflush(stdout);
}

// A run that cannot begin says so in its record, too.
void FlowRun::LoadRecorded() {
  try {
    Load();
    RecordChanges();
  } catch (const ProgramError& error) {
    if (record_) record_->End(static_cast<int>(error.code()));
    throw;
  } catch (const Host::HostError& error) {
    if (record_) record_->End(static_cast<int>(CodeOf(error.kind())));
    throw;
  }
}

// The state's record comes first: it writes the run's name into the dictionary.
void FlowRun::RecordChanges() {
  if (state_record_) state_record_->Begin(changes_);
  if (record_) {
    Journal::TakeSnapshot(host_->dictionary(), "", *record_);
    changes_.Add(*record_);
    seek_scratch_ = host_->MakeDictionary();
    seek_table_.emplace(Host::MakeAbsolutePath(options_.record_file), *seek_scratch_);
  }
  if (!changes_.IsEmpty()) host_->dictionary().SetObserver(&changes_);
  if (!durable_) return;
  std::vector<Journal::RunRecord*> records{state_record_->record()};
  if (record_) records.push_back(&*record_);
  state_record_->KeepName();
  durable_->Begin(std::move(records));
}

Host::RunSettings FlowRun::MakeSettings() {
  Host::RunSettings settings;
  settings.time_limit = options_.time_limit;
  settings.stuck = [this] {
    try {
      PrintErrorLine(shown_name_ + ": not idle after " + options_.timeout +
                     " s, and a node does not return; ended without it");
      watch_->FinishLog();
      StatusLine::Finish();
    } catch (...) {  // Without memory there is no line, but an end.
    }
    Host::FileLock::RemoveFilesAtExit();
    std::_Exit(static_cast<int>(ExitCode::Failed));
  };
  settings.checkpoint = options_.checkpoint;
  settings.checkpoint.expected_cost = load_time_;
  if (state_record_) settings.saving = [this] { return state_record_->CountSave(); };
  settings.saved = [this] {
    watch_->NoteSave();
    if (record_) record_->NoteSave();
    if (state_record_) state_record_->NoteSave();
  };
  if (state_record_) settings.needs_checkpoint = [this] { return state_record_->NeedsCheckpoint(); };
  if (page_) settings.ending = [this](Host::RunEnd end) { return page_->LetEnd(end); };
  settings.finished = [this] {
    SetActivity("at the end of the run");
    write_directory_->EndRun();
    if (durable_) durable_->Await();
  };
  return settings;
}

Host::RunResult FlowRun::Run() {
  SetActivity("while the workflow ran");
  const RunWatch::Showing showing(
      *watch_, plan_.name, shown_name_ + (plan_.continued ? ": continues from " + state_->shown_name() : ": begins"),
      host_->mediator());
  const RunPage::Showing page_showing(page_ ? &*page_ : nullptr);
  if (page_) page_->Begin(*watch_, *host_, plan_.name, shown_name_);
  // A run that died between the node's word and its end.
  if (WasEnded(host_->dictionary())) host_->parts().objects.host_app().RequestEnd();
  const Host::RunResult result = RunUntilStopped(*host_, MakeSettings(), shown_name_, state_->CanBeWritten());
  if (page_) page_->End(result);
  return result;
}

// False when the record lacks something, which is said then.
bool FlowRun::EndRecord(ExitCode code) {
  if (!record_) return true;
  record_->End(static_cast<int>(code));
  const std::string problem = record_->problem();
  record_.reset();
  if (!problem.empty()) PrintErrorLine(options_.record_file + ": the record ends before the run: " + problem);
  return problem.empty();
}

ExitCode FlowRun::Finish(const Host::RunResult& result) {
  const ISignalMediator::Statistics statistics = host_->GetStatistics();
  const unsigned failures =
      std::max<unsigned>(statistics.failures, watch_->CountFailures()) + watch_->TellUntaken(host_->dictionary());
  boxes_.PrintRepeated();
  if (durable_) durable_->End();
  ExitCode code = ReportEnding({result, *host_, *state_, failures, shown_name_, options_.timeout,
                                state_record_ && state_record_->IsUsable(), durable_ && durable_->has_failed()});
  // It had delivered its last signal before it could stop.
  if (durable_ && durable_->has_failed() && code == ExitCode::Done) code = ExitCode::Failed;
  write_directory_.reset();
  seek_table_.reset();
  seek_scratch_.reset();
  host_.reset();
  if (state_record_) state_record_->End(Journal::RecoveryRecord::IsSettled(result));
  if (durable_ && state_record_) state_record_->KeepName();
  if (!EndRecord(code) && code == ExitCode::Done) code = ExitCode::Failed;
  const std::string summary = Base::Counted(statistics.finished, "signal") + " delivered, " +
                              Base::Counted(statistics.nodes, "node") + " made, " + Base::Counted(failures, "failure") +
                              ", " + Seconds(Clock::now() - start_);
  std::printf("%s: %s\n", Visible(plan_.name).c_str(), summary.c_str());
  std::fflush(stdout);
  watch_->WriteLog(shown_name_ + ": " + summary + ", exit code " + std::to_string(static_cast<int>(code)));
  if (watch_->FinishLog()) return code;
  return code == ExitCode::Done ? ExitCode::Failed : code;
}

}  // namespace OrvWorkFlow::Program
