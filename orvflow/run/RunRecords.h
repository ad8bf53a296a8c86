// What a run keeps in its state beside the workflow: the signals that failed and those that were set aside.
#pragma once

#include <string>

#include "orvflow/run/AttemptRecord.h"
#include "orvflow/run/RunLoop.h"
#include "orvflow/run/SignalRecords.h"
#include "orvflow/run/StateFile.h"
#include "orvflow/run/WorkflowHost.h"

namespace OrvWorkFlow::Program {

// Made before the workflow is loaded; gone before the host.
class RunRecords {
 public:
  // `flow` is how messages call the flow file. Says in which delivery the run before has died.
  RunRecords(WorkflowHost& host, const StateFile& state, std::string flow);
  RunRecords(const RunRecords&) = delete;
  RunRecords& operator=(const RunRecords&) = delete;
  // The run has come to an end, whatever that was.
  ~RunRecords();

  // What concerns the records in the limits of the run.
  void AddTo(RunLimits& limits);

  // Whether there are some in the workflow's dictionary, of this run or of those before it.
  bool HasKept() const;
  // Says which signals are kept in the state of a run that has nothing more to do, and what can be done.
  void ReportKept() const;

  // Whether there are some that no save has written.
  bool HasNew() const { return failed_.Count() + set_aside_.Count() > 0 || is_unsaved_; }
  // Whether signals failed that could not be noted. Nothing is saved then: what is in the file has them still to be
  // delivered.
  bool HasForgotten() const { return host_.deliveries().HasForgotten(); }
  // How many signals failed or were lost in this run.
  std::uint64_t CountFailures() const { return host_.deliveries().CountFailures(); }

 private:
  bool WriteNew();

  WorkflowHost& host_;
  const StateFile& state_;
  const std::string flow_;
  AttemptRecord attempts_;
  SignalRecords failed_;  // still to be written, as the next
  SignalRecords set_aside_;
  bool is_unsaved_ = false;  // in the dictionary, but not in the file
};

// Of a workflow that begins anew: what an earlier run has died in counts no more.
void ForgetDeaths(const StateFile& state);

// Takes the signals that failed or were set aside in earlier runs back into the queue of the saved state. Throws
// ProgramError when there is no state, or it cannot be written.
void RetryKeptSignals(const WorkflowHost& host, const StateFile& state, const std::string& workflow_name);

}  // namespace OrvWorkFlow::Program
