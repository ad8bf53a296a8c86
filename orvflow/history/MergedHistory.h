// The deliveries of several records as one list, in which what was sent stands before what came of it.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "orvflow/history/HistoryLines.h"
#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RecordSet.h"

namespace OrvWorkFlow::Program {

// One thread.
class MergedHistory {
 public:
  // The set outlives this.
  MergedHistory(const RecordSet& records, const HistoryFilter& filter, bool as_json);

  // Goes through all records once. What is next is that which was first by the clocks of the machines; but these
  // differ, so that a signal that came waits until the delivery that sent it has been told. Each record keeps its
  // order.
  void Print(const std::function<void(const std::string&)>& print);

 private:
  struct Source {
    Source(const RecordSet& records, std::size_t index, const HistoryFilter& filter, bool as_json)
        : file(records.file(index)), lines(filter, as_json, records, index), record(index) {}
    RecordFile file;
    HistoryLines lines;
    const std::size_t record;
    // What is told next.
    std::string text;
    std::uint64_t time = 0;
    std::optional<DeliveryPlace> ended;
    std::optional<RecordSet::Where> cause;  // in another record
    bool is_over = false;
    bool has_next = false;
  };

  void ReadOn(Source& source) const;
  Source* Choose();

  const RecordSet& records_;
  std::deque<Source> sources_;
  std::set<RecordSet::Where> told_;  // deliveries that sent something
};

}  // namespace OrvWorkFlow::Program
