// Why a node ran, or did not: its causes back to the beginning, over bridges too, or what its senders did instead.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "flow/model/Workflow.h"
#include "journal/DeliveryHistory.h"
#include "orvflow/history/BridgeWays.h"
#include "orvflow/history/RecordSet.h"

namespace OrvWorkFlow::Program {

// What one run of a record tells, kept whole.
class RunTale {
 public:
  // In the order of the record: of the run with that number, or with 0 of the last one.
  explicit RunTale(unsigned wanted_run) : wanted_run_(wanted_run) {}
  void Take(const Journal::Event& event);

  // 0 when there is no such run.
  unsigned run() const { return run_; }
  // The workflow's file, as the run had it.
  const std::string& flow() const { return flow_; }

  // The delivery with that number; null when there is none.
  const Journal::Delivery* Find(std::uint64_t number) const;
  // To an instance, in their order; `signal` "" for any.
  std::vector<const Journal::Delivery*> To(const std::string& instance, const std::string& signal) const;
  // How often an instance fired each of its signals.
  std::map<std::string, std::size_t> FiredBy(const std::string& instance) const;
  // Signals that were queued to an instance and not delivered.
  std::size_t CountWaitingFor(const std::string& instance, const std::string& signal) const;
  // Of the whole record.
  const BridgeWays& ways() const { return ways_; }

 private:
  bool IsOfRun() const { return wanted_run_ == 0 || history_.run() == wanted_run_; }
  void Forget();

  const unsigned wanted_run_;
  unsigned run_ = 0;
  std::string flow_;
  Journal::DeliveryHistory history_;
  BridgeWays ways_;
  std::map<std::uint64_t, Journal::Delivery> deliveries_;
  std::vector<std::uint64_t> order_;
  std::map<std::string, std::map<std::string, std::size_t>> fired_;
  std::map<std::uint64_t, Journal::Route> waiting_;
};

// Lines for people. `signal` may be "". The first of `records`, if there are any, is that of the tale: then the way
// back goes on in the others.
std::string ExplainDelivery(const RunTale& tale, const Journal::Delivery& delivery, const RecordSet* records = nullptr);
// The deliveries that led to one of the first record, back to the beginning: itself, and those of all records.
std::vector<RecordSet::Where> FindWayBack(const RecordSet& records, const DeliveryPlace& place);
// Nothing when no instance of the workflow has that name; then no delivery went to one either.
std::optional<std::string> ExplainNode(const RunTale& tale, const Flow::Workflow& workflow, const std::string& instance,
                                       const std::string& signal, const RecordSet* records = nullptr);

}  // namespace OrvWorkFlow::Program
