#include "orvflow/RunRecords.h"

#include <cstdio>
#include <iterator>
#include <utility>

#include "orvflow/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kAttemptExtension[] = ".attempt";

void Append(SignalRecords& records, SignalRecords more) {
  records.signals.insert(records.signals.end(), std::make_move_iterator(more.signals.begin()),
                         std::make_move_iterator(more.signals.end()));
  records.more += more.more;
}

std::string Times(std::uint32_t number) { return number == 1 ? "once" : std::to_string(number) + " times running"; }

// "2 signals failed (FileCopier First copy: no such file, and 1 more)"; "" for none.
std::string Describe(const SignalRecords& records, const std::string& what) {
  if (records.Count() == 0) return {};
  std::string text = std::to_string(records.Count()) + (records.Count() == 1 ? " signal " : " signals ") + what;
  if (records.signals.empty()) return text;
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
bool RunRecords::WriteNew() {
  Append(failed_, host_.deliveries().TakeFailed());
  SignalRecords set_aside = host_.deliveries().TakeSetAside();
  for (const SignalRecord& signal : set_aside.signals) {
    PrintErrorLine(flow_ + ": " + NameOf(signal) + ": " + signal.reason +
                   "; the signal is set aside, and the run goes on without it");
  }
  Append(set_aside_, std::move(set_aside));
  is_unsaved_ = is_unsaved_ || failed_.Count() + set_aside_.Count() > 0;
  if (!AppendSignalRecords(host_.dictionary(), kFailedSignals, failed_)) return false;
  failed_ = {};
  if (!AppendSignalRecords(host_.dictionary(), kSetAsideSignals, set_aside_)) return false;
  set_aside_ = {};
  return true;
}

bool RunRecords::ReportKept() const {
  const std::string failed = Describe(ReadSignalRecords(host_.dictionary(), kFailedSignals), "failed");
  const std::string set_aside = Describe(ReadSignalRecords(host_.dictionary(), kSetAsideSignals), "set aside");
  if (failed.empty() && set_aside.empty()) return false;
  PrintErrorLine(flow_ + ": " + failed + (failed.empty() || set_aside.empty() ? "" : ", ") + set_aside + ", kept in " +
                 state_.shown_name() + "; --retry delivers once more, --fresh begins anew");
  return true;
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
