// The record of a run beside its state: a workflow whose process was killed goes on where it was, not where its state
// was saved last.
//
//   Host::StateFile state("flow.xml", "");
//   Host::StateRecord record;                        // outlives the host, as the state does
//   Host::WorkflowHost host;
//   host.UseState(state);
//   host.UseRecord(record);                          // the rest is as without it
//
// "<state>.record" is there while the workflow runs, and after a process that did not come to the end of its run; Load
// makes the state of it then, and says so. The delivery that was at work is made once more, with the same key and as
// its next attempt (Sdk::CurrentDelivery); nothing else is repeated and nothing is lost, if the nodes keep what they
// remember in the workflow's dictionary. With a node that says it does not, and with global objects of the host's own,
// the workflow goes on from the state that was saved last, which is said.
#pragma once

#include <memory>
#include <string>

namespace OrvWorkFlow::Host {

class RecordKeeper;
class StateFile;
class WorkflowHost;

// For one host at a time. One thread, as the host's operations, but for IsKept.
class StateRecord {
 public:
  enum class Durability {
    // What happened is not lost with the process, however that ends. Costs no call of the system.
    Process,
    // Nor with the machine: a delivery to a node that acts outside of the workflow waits until the disk has all that
    // was before it. A disk that fails stops the run; one that is full holds it until there is room.
    Power,
  };

  explicit StateRecord(Durability durability = Durability::Process);
  StateRecord(const StateRecord&) = delete;
  StateRecord& operator=(const StateRecord&) = delete;
  ~StateRecord();

  // The workflow begins anew: what an earlier run left beside the state goes, as StateFile::Remove does with the state.
  // Before Load. The system's reason when the file is still there; else "".
  static std::string Remove(const StateFile& state);

  // Whether a run that is killed now goes on from the record. Between Load and the host's end it is, unless what could
  // not be told to the host's user: the file cannot be written, the disk is full or fails, the state is enciphered, a
  // node keeps state of its own. Any thread.
  bool IsKept() const;

 private:
  friend class WorkflowHost;
  class Keeper;

  // The host's UseRecord.
  RecordKeeper& AttachTo(WorkflowHost& host);

  std::unique_ptr<Keeper> keeper_;
};

}  // namespace OrvWorkFlow::Host
