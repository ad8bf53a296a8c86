#include "orvflow/run/RunEnding.h"

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"
#include "orvflow/run/KeptSignals.h"
#include "orvflow/run/Outcome.h"
#include "orvflow/terminal/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

std::string Describe(const Host::RunBacklog& backlog) {
  return Base::Counted(backlog.waiting, "signal") + " waiting, " + std::to_string(backlog.undelivered) +
         " undelivered, " + Base::Counted(backlog.busy, "node") + " busy";
}

// What has become of the state of a workflow that has nothing more to do.
ExitCode ReportFinished(const RunEnding& ending) {
  const std::string& state = ending.state.shown_name();
  switch (ending.result.finished_state) {
    case Host::FinishedState::None:
    case Host::FinishedState::Removed:
      return ending.failures != 0 || ending.result.failures != 0 ? ExitCode::Failed : ExitCode::Done;
    case Host::FinishedState::NotRemoved:
      PrintErrorLine(state +
                     ": the workflow has finished, but its saved state cannot be removed: " + ending.result.problem);
      return ExitCode::Failed;
    case Host::FinishedState::Forgotten:
      PrintErrorLine(ending.shown_name +
                     ": signals failed or were lost, and there was no memory to note which; not saved, so that nothing "
                     "is left out: " +
                     state + " stays as it was, if it is there");
      return ExitCode::Failed;
    case Host::FinishedState::NotSaved:
      PrintErrorLine(state + ": the signals that failed cannot be saved; the file stays as it was, if any");
      return ExitCode::Failed;
    case Host::FinishedState::Kept:
      // They are to be delivered once more some day.
      ReportKeptSignals(ending.host.dictionary(), ending.shown_name, ending.state);
      return ExitCode::Failed;
  }
  return ExitCode::Failed;
}

ExitCode ReportStopped(const RunEnding& ending) {
  const Host::RunResult& result = ending.result;
  const bool restart = result.end == Host::RunEnd::Restart;
  const StopRequest request = RequestedStop();
  const bool by_disk = ending.lost_durability && request == StopRequest::None && !restart;
  const std::string cause = restart ? "a node's wish to restart" : by_disk ? "its disk" : NameOf(request);
  const std::string line = ending.shown_name + ": stopped by " + cause;
  if (result.saved) {
    const std::size_t nodes = Base::NamesBelow(ending.host.dictionary(), WorkflowSchema::kRebootSignals).size();
    PrintErrorLine(line + ", saved in " + ending.state.shown_name() + " (" +
                   Base::Counted(result.backlog.waiting, "signal") + " waiting, " + Base::Counted(nodes, "node") +
                   " to go on); run it again to continue");
    return by_disk ? ExitCode::Failed : ExitCode::Resumable;
  }
  PrintErrorLine(line + ", not saved (" + Describe(result.backlog) + ")" +
                 (ending.has_record ? "; run it again to go on from its record" : ""));
  if (restart || by_disk) return ExitCode::Failed;
  return request == StopRequest::Interrupt ? ExitCode::Interrupted : ExitCode::Terminated;
}

std::string DescribeFailure(const RunEnding& ending) {
  const Host::RunResult& result = ending.result;
  const std::string backlog = Describe(result.backlog);
  switch (result.end) {
    case Host::RunEnd::TimedOut:
      return "stopped, not idle after " + ending.time_limit + " s (" + backlog + ")" +
             (result.saved ? ", saved in " + ending.state.shown_name() + "; run it again to continue" : "");
    case Host::RunEnd::EngineDied:
      return "the engine's thread has ended (" + backlog + ")";
    case Host::RunEnd::Broken:
      return "the run has failed: " + result.problem;
    default:
      return "the engine could not be started";
  }
}

}  // namespace

ExitCode ReportEnding(const RunEnding& ending) {
  switch (ending.result.end) {
    case Host::RunEnd::Idle: {
      const bool is_done = ReportOutcome(ending.host.dictionary(), ending.shown_name);
      const ExitCode code = ReportFinished(ending);
      return is_done || code != ExitCode::Done ? code : ExitCode::Failed;
    }
    case Host::RunEnd::Ended: {
      const ExitCode code = ReportEnd(ending.host.dictionary(), ending.shown_name, ending.result.backlog.waiting);
      const ExitCode finished = ReportFinished(ending);
      return code == ExitCode::Done ? finished : code;
    }
    case Host::RunEnd::Stopped:
    case Host::RunEnd::Restart:
      return ReportStopped(ending);
    default:
      PrintErrorLine(ending.shown_name + ": " + DescribeFailure(ending));
      return ExitCode::Failed;
  }
}

}  // namespace OrvWorkFlow::Program
