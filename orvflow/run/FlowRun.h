// One run of a flow, from its preparation to its last line.
#pragma once

#include <chrono>
#include <optional>

#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "journal/DictionaryObservers.h"
#include "journal/DurableDeliveries.h"
#include "journal/RecoveryRecord.h"
#include "journal/RunRecord.h"
#include "journal/SeekTableWriter.h"
#include "orvflow/page/RunPage.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/run/RunOptions.h"
#include "orvflow/run/RunPlan.h"
#include "orvflow/run/WriteDirectory.h"
#include "orvflow/terminal/BoxPrinter.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/watch/RunWatch.h"
#include "orvflow/watch/Tracing.h"

namespace OrvWorkFlow::Program {

class FlowRun {
 public:
  struct Watching {
    LogOptions log;
    std::optional<std::chrono::duration<double>> progress;
  };

  // `key` is null for none. All that is given outlives this. After WatchForStopRequests and WatchForReportRequests.
  FlowRun(const RunOptions& options, FlowSource& source, const char* key, Watching watching);

  // Once. Throws ProgramError when the flow cannot be run.
  ExitCode Execute();

 private:
  using Clock = std::chrono::steady_clock;

  void MakeHost();
  void Prepare();
  void PrepareStateRecord();
  void OpenStateRecord();
  bool AwaitRecord();
  void ChangeState();
  void LoadRecorded();
  void RecordChanges();
  void Load();
  Host::RunSettings MakeSettings();
  Host::RunResult Run();
  bool EndRecord(ExitCode code);
  ExitCode Finish(const Host::RunResult& result);

  const RunOptions& options_;
  FlowSource& source_;
  const char* const key_;
  const Watching watching_;
  const std::string& shown_name_;  // of the flow
  BoxPrinter boxes_;
  std::optional<RunWatch> watch_;             // Made when nothing can be refused any more, and gone after the host.
  std::optional<Journal::RunRecord> record_;  // So are this
  std::optional<Journal::RecoveryRecord> state_record_;  // and this,
  Journal::DictionaryObservers changes_;                 // and this,
  std::optional<Journal::DurableDeliveries> durable_;    // and this; it calls the host while that is there.
  const Clock::time_point start_ = Clock::now();
  std::optional<Host::StateFile> state_;  // This and what stands above is there to the host's end.
  std::optional<Host::WorkflowHost> host_;
  std::optional<RunPage> page_;
  Host::WorkflowHost::OwnedDictionary seek_scratch_;
  std::optional<Journal::SeekTableThread> seek_table_;  // of the record
  RunPlan plan_;
  Clock::duration load_time_{};
  std::optional<WriteDirectory> write_directory_;
};

}  // namespace OrvWorkFlow::Program
