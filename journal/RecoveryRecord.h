// The record beside a saved state: a run that was cut off goes on from it where it was.
#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "journal/DictionaryObservers.h"
#include "journal/RunRecord.h"
#include "journal/RunStanding.h"

namespace OrvWorkFlow::Journal {

// "<state>.record" is there while a workflow runs and after a run that was cut off: then it holds all that happened
// since that run began, with the dictionary as it was at that time. One thread, but for NeedsCheckpoint.
class RecoveryRecord {
 public:
  // What it is given outlives it, but for the host; `flow` is how messages call the flow. What there is to say is told
  // as the host does now.
  RecoveryRecord(Host::WorkflowHost& host, const Host::StateFile& state, const std::string& flow);
  RecoveryRecord(const RecoveryRecord&) = delete;
  RecoveryRecord& operator=(const RecoveryRecord&) = delete;
  static std::string PathBeside(const Host::StateFile& state);
  // After the host. The record of a run that has not begun goes.
  ~RecoveryRecord();

  // Whether there is one, of whatever run.
  bool IsThere() const;
  // Before the state is looked at. The state becomes what the record says, if a run was cut off and nothing is missing
  // in the record; what was done, or why not, is told. False when the state stays as it is. Throws HostError.
  bool Recover();
  // The same for a dictionary of the caller's, which becomes what the state would be. When it is false, the dictionary
  // may hold anything.
  bool Look(IDictionary& dictionary) const;
  // The workflow begins anew: so does the record.
  void Remove() const;

  // Before the workflow is loaded, and after it was: then the dictionary's observers become one more. A record that
  // cannot be written is none, which is said.
  void Open(const RunNote& note);
  void Begin(DictionaryObservers& observers);
  RunRecord* record() { return record_ ? &*record_ : nullptr; }

  // That the record is there, or is not any more, survives a power failure. What the system refuses is said.
  void KeepName() const;

  // Whether the next run could go on from it.
  bool IsUsable() const { return record_ && record_->IsExact(); }

  // The state is about to be saved, and it was saved; nothing is being delivered. False without memory.
  bool CountSave();
  void NoteSave();
  bool NeedsCheckpoint() const;
  // The host is gone. With `is_settled` the state says all that the record does.
  void End(bool is_settled);
  // Of a run that ended so.
  static bool IsSettled(const Host::RunResult& result);

 private:
  // What is in the record, if that is more than the state has.
  struct Found {
    RunStanding standing;
    bool is_torn = false;     // the machine went down, and the record's end is lost
    std::uint64_t saves = 0;  // that the state has seen
  };

  Found Read() const;
  std::string DescribeOtherWay() const;
  std::string HowToBeginAnew() const;
  std::string WhyUnusable(const RunStanding& standing, IDictionary& dictionary) const;
  std::optional<Found> Find(IDictionary& dictionary) const;
  bool Fill(const Found& found, IDictionary& dictionary) const;
  void SayThatStateCounts() const;
  void Tell(const std::string& line) const {
    if (tell_) tell_(line);
  }
  void Report(const Found& found) const;
  // Once, that the record has ended.
  void TellProblem() const;

  Host::WorkflowHost& host_;
  const Host::StateFile& state_;
  const std::string& flow_;
  const Host::LineReceiver tell_;
  const std::string path_;
  const std::string shown_name_;
  RunNote note_;
  std::optional<RunRecord> record_;
  bool has_begun_ = false;
  mutable std::atomic<bool> is_problem_told_ = false;
};

// The dictionary as it is, into the record; `before` is the name of the run whose state it was, "" for none.
void TakeSnapshot(IDictionary& dictionary, const std::string& before, RunRecord& record);

}  // namespace OrvWorkFlow::Journal
