#include "orvflow/run/RunEnding.h"

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "orvflow/run/Outcome.h"
#include "orvflow/terminal/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

std::string Describe(const WorkflowHost::Backlog& backlog) {
  return Count(backlog.waiting, "signal") + " waiting, " + std::to_string(backlog.undelivered) + " undelivered, " +
         Count(backlog.busy, "node") + " busy";
}

// The signals that failed are to be delivered once more some day.
ExitCode ReportKept(const RunEnding& ending) {
  const std::string& state = ending.state.shown_name();
  if (ending.records.HasForgotten()) {
    PrintErrorLine(ending.shown_name +
                   ": signals failed or were lost, and there was no memory to note which; not saved, so that nothing "
                   "is left out: " +
                   state + " stays as it was, if it is there");
  } else if (!ending.result.saved) {
    PrintErrorLine(state + ": the signals that failed cannot be saved; the file stays as it was, if any");
  } else {
    ending.records.ReportKept();
  }
  return ExitCode::Failed;
}

// Unless signals have failed nothing is left to continue, and the next run begins anew.
ExitCode ReportFinished(const RunEnding& ending) {
  const StateFile& state = ending.state;
  const RunRecords& records = ending.records;
  const bool has_failed = ending.failures != 0 || records.CountFailures() != 0;
  if (!state.CanBeWritten()) return has_failed ? ExitCode::Failed : ExitCode::Done;
  if (records.HasForgotten() || records.HasNew() || records.HasKept()) return ReportKept(ending);
  const std::string why = state.Remove();
  if (!why.empty()) {
    PrintErrorLine(state.shown_name() + ": the workflow has finished, but its saved state cannot be removed: " + why);
    return ExitCode::Failed;
  }
  return has_failed ? ExitCode::Failed : ExitCode::Done;
}

ExitCode ReportStopped(const RunEnding& ending) {
  const WorkflowHost::Result& result = ending.result;
  const bool restart = result.end == WorkflowHost::End::Restart;
  const StopRequest request = RequestedStop();
  const std::string line =
      ending.shown_name + ": stopped by " + (restart ? "a node's wish to restart" : NameOf(request));
  if (result.saved) {
    const std::size_t nodes = Base::NamesBelow(ending.host.dictionary(), WorkflowSchema::kRebootSignals).size();
    PrintErrorLine(line + ", saved in " + ending.state.shown_name() + " (" + Count(result.backlog.waiting, "signal") +
                   " waiting, " + Count(nodes, "node") + " to go on); run it again to continue");
    return ExitCode::Resumable;
  }
  PrintErrorLine(line + ", not saved (" + Describe(result.backlog) + ")");
  if (restart) return ExitCode::Failed;
  return request == StopRequest::Interrupt ? ExitCode::Interrupted : ExitCode::Terminated;
}

std::string DescribeFailure(const RunEnding& ending) {
  const WorkflowHost::Result& result = ending.result;
  const std::string backlog = Describe(result.backlog);
  switch (result.end) {
    case WorkflowHost::End::TimedOut:
      return "stopped, not idle after " + ending.time_limit + " s (" + backlog + ")" +
             (result.saved ? ", saved in " + ending.state.shown_name() + "; run it again to continue" : "");
    case WorkflowHost::End::EngineDied:
      return "the engine's thread has ended (" + backlog + ")";
    case WorkflowHost::End::Broken:
      return "the run has failed: " + result.problem;
    default:
      return "the engine could not be started";
  }
}

}  // namespace

std::string Count(std::uint64_t number, const std::string& thing) {
  return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

ExitCode ReportEnding(const RunEnding& ending) {
  switch (ending.result.end) {
    case WorkflowHost::End::Idle: {
      const bool is_done = ReportOutcome(ending.host.dictionary(), ending.shown_name);
      const ExitCode code = ReportFinished(ending);
      return is_done || code != ExitCode::Done ? code : ExitCode::Failed;
    }
    case WorkflowHost::End::Stopped:
    case WorkflowHost::End::Restart:
      return ReportStopped(ending);
    default:
      PrintErrorLine(ending.shown_name + ": " + DescribeFailure(ending));
      return ExitCode::Failed;
  }
}

}  // namespace OrvWorkFlow::Program
