#include "orvflow/run/RunRecords.h"

#include <cstdio>
#include <new>
#include <utility>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kAttemptExtension[] = ".attempt";

std::string Times(std::uint32_t number) { return number == 1 ? "once" : std::to_string(number) + " times running"; }

// "2 signals failed (FileCopier First copy: no such file, and 1 more)"; "" for none.
std::string Describe(const SignalRecords& records, const std::string& what) {
  if (records.Count() == 0) return {};
  std::string text = std::to_string(records.Count()) + (records.Count() == 1 ? " signal " : " signals ") + what;
  if (records.signals.empty()) return text + ", too many to be noted";
  const SignalRecord& first = records.signals.front();
  text += " (" + NameOf(first) + (first.reason.empty() ? "" : ": " + first.reason);
  if (records.Count() > 1) text += ", and " + std::to_string(records.Count() - 1) + " more";
  return text + ")";
}

}  // namespace

RunRecords::RunRecords(WorkflowHost& host, const StateFile& state, std::string flow)
    : host_(host),
      state_(state),
      flow_(std::move(flow)),
      attempts_(state.CanBeWritten() ? state.path() + kAttemptExtension : std::string()) {
  host_.deliveries().UseAttempts(&attempts_);
  const AttemptRecord::Suspect* const died = attempts_.last_death();
  if (died == nullptr || attempts_.suspect() != nullptr) return;
  PrintErrorLine(flow_ + ": the run before died while " + died->name.type + " " + died->name.instance + " had \"" +
                 died->name.signal + "\" (" + Times(attempts_.deaths()) + "; after " +
                 std::to_string(AttemptRecord::kMostDeaths) + " times that signal is set aside)");
}

RunRecords::~RunRecords() {
  host_.deliveries().UseAttempts(nullptr);
  attempts_.Remove();
}

void RunRecords::AddTo(RunLimits& limits) {
  limits.wants_checkpoint = [this] { return host_.deliveries().HasSetAside(); };
  limits.before_save = [this] { return WriteNew(); };
  limits.after_save = [this] {
    is_unsaved_ = false;
    host_.deliveries().Saved();
  };
  limits.stuck = [this, stuck = std::move(limits.stuck)] {
    host_.deliveries().Forgive();  // The program ends it, not the node.
    stuck();
  };
}

// What could not be written is tried again with the next save.
bool RunRecords::WriteNew() try {
  if (HasForgotten()) return false;
  host_.deliveries().MoveFailedTo(failed_);
  const std::size_t told = set_aside_.signals.size();
  host_.deliveries().MoveSetAsideTo(set_aside_);
  for (std::size_t i = told; i < set_aside_.signals.size(); ++i) {
    const SignalRecord& signal = set_aside_.signals[i];
    PrintErrorLine(flow_ + ": " + NameOf(signal) + ": " + signal.reason +
                   "; the signal is set aside, and the run goes on without it");
  }
  is_unsaved_ = is_unsaved_ || failed_.Count() + set_aside_.Count() > 0;
  if (!AppendSignalRecords(host_.dictionary(), kFailedSignals, failed_)) return false;
  failed_ = {};
  if (!AppendSignalRecords(host_.dictionary(), kSetAsideSignals, set_aside_)) return false;
  set_aside_ = {};
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool RunRecords::HasKept() const {
  return ReadSignalRecords(host_.dictionary(), kFailedSignals).Count() != 0 ||
         ReadSignalRecords(host_.dictionary(), kSetAsideSignals).Count() != 0;
}

void RunRecords::ReportKept() const {
  const SignalRecords failed = ReadSignalRecords(host_.dictionary(), kFailedSignals);
  const SignalRecords set_aside = ReadSignalRecords(host_.dictionary(), kSetAsideSignals);
  std::string line = flow_ + ": " + Describe(failed, "failed");
  if (failed.Count() > 0 && set_aside.Count() > 0) line += ", ";
  line += Describe(set_aside, "set aside") + ", kept in " + state_.shown_name() + "; ";
  if (!failed.signals.empty() || !set_aside.signals.empty()) line += "--retry delivers once more, ";
  PrintErrorLine(line + "--fresh begins anew");
}

void ForgetDeaths(const StateFile& state) { std::remove((state.path() + kAttemptExtension).c_str()); }

void RetryKeptSignals(const WorkflowHost& host, const StateFile& state, const std::string& workflow_name) {
  if (!state.Exists()) {
    throw FileError(ExitCode::Failed, state.shown_name(), "",
                    "there is no saved state, so --retry has nothing to deliver once more");
  }
  const WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  state.Read(*dictionary, workflow_name);
  if (ReadSignalRecords(*dictionary, kFailedSignals).Count() == 0 &&
      ReadSignalRecords(*dictionary, kSetAsideSignals).Count() == 0) {
    return;
  }
  if (!RequeueSignalRecords(*dictionary, kFailedSignals) || !RequeueSignalRecords(*dictionary, kSetAsideSignals) ||
      !dictionary->SaveFile(state.path().c_str())) {
    throw FileError(ExitCode::Failed, state.shown_name(), "", "the state cannot be written; it is as it was");
  }
}

}  // namespace OrvWorkFlow::Program
