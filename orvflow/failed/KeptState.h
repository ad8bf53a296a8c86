// The saved state of a workflow that is not running, for verbs that look into it and change what it keeps.
#pragma once

#include <optional>
#include <string>

#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "journal/RecoveryRecord.h"
#include "orvflow/files/KeyFile.h"

namespace OrvWorkFlow::Program {

// Nobody else has the state while this is there. Operations throw ProgramError and HostError.
class KeptState {
 public:
  using OwnedDictionary = Host::WorkflowHost::OwnedDictionary;

  // The files as the user knows them; "" for a state that is named after the flow, and for no key.
  struct Files {
    std::string flow;
    std::string state;
    std::string key;
  };
  // Says who asks. Texts are literals.
  struct Words {
    const char* verb;      // "failed"
    const char* argument;  // "failed: --state "
    const char* nothing;   // what is said when there is no state
  };
  KeptState(Files files, const Words& words);
  KeptState(const KeptState&) = delete;
  KeptState& operator=(const KeptState&) = delete;

  const std::string& flow() const { return files_.flow; }
  const std::string& shown_name() const { return state_->shown_name(); }

  // As the next run finds it, also after one that was cut off, which is said.
  OwnedDictionary Look() const;
  // The same to be changed: the state of a run that was cut off is made first.
  OwnedDictionary Open();
  // Of what Open gave: whether no run has anything to do with it. Then the next one need not see how the last one
  // ended.
  bool IsFinished(IDictionary& state) const;
  // Writes what Open gave, or removes the state.
  void Save(IDictionary& state) const;
  void Remove() const;

 private:
  void CheckFlow() const;
  void Read(IDictionary& dictionary) const;

  const Files files_;
  const Words words_;
  std::optional<KeyFile> key_;  // The host uses it to its end.
  Host::WorkflowHost host_;
  std::optional<Host::StateFile> state_;
  std::optional<Journal::RecoveryRecord> record_;
  bool was_cut_off_ = false;
};

}  // namespace OrvWorkFlow::Program
