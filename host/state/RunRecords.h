// What a run keeps in its state beside the workflow: the signals that failed and those that were set aside.
#pragma once

#include <cstdint>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/host/StateFile.h"
#include "host/run/DeliveryWatch.h"
#include "host/state/AttemptRecord.h"
#include "host/state/SignalRecords.h"

namespace OrvWorkFlow::Host {

// Made before the workflow is loaded. What it is given outlives it.
class RunRecords {
 public:
  // `flow` is how messages call the flow file. Tells in which delivery the run before has died.
  RunRecords(DeliveryWatch& deliveries, IDictionary& dictionary, const StateFile& state, std::string flow,
             LineReceiver tell);
  RunRecords(const RunRecords&) = delete;
  RunRecords& operator=(const RunRecords&) = delete;
  // The run has come to an end, whatever that was.
  ~RunRecords();

  // Writes the new ones into the dictionary, before it is saved; false when that fails. What could not be written is
  // tried again with the next save.
  bool WriteNew();
  // The state is in its file.
  void Saved();

  // Whether there are some in the workflow's dictionary, of this run or of those before it.
  bool HasKept() const;
  // Whether there are some that no save has written.
  bool HasNew() const { return failed_.Count() + set_aside_.Count() > 0 || is_unsaved_; }

 private:
  DeliveryWatch& deliveries_;
  IDictionary& dictionary_;
  const std::string flow_;
  const LineReceiver tell_;
  AttemptRecord attempts_;
  SignalRecords failed_;  // still to be written, as the next
  SignalRecords set_aside_;
  bool is_unsaved_ = false;  // in the dictionary, but not in the file
};

// Of a workflow that goes on from its record, see AttemptRecord::Renumber.
void RenumberDeaths(const StateFile& state, bool has_progress);

// Of a state that was made from its record, before RenumberDeaths: what the run did not take because the program had
// died with it was set aside, and did not fail. False when the dictionary refuses.
bool SetAsideNotTaken(IDictionary& dictionary, const StateFile& state);

// Whether the run before has ended without a word.
bool WasCutOff(const StateFile& state);

// Of a workflow that begins anew: what an earlier run has died in counts no more.
void ForgetDeaths(const StateFile& state);

}  // namespace OrvWorkFlow::Host
