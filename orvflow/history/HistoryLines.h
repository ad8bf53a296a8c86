// The lines of orvflow history, as the entries of a record come.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "journal/DeliveryHistory.h"
#include "orvflow/history/BridgeWays.h"
#include "orvflow/history/RecordSet.h"

namespace OrvWorkFlow::Program {

// Which deliveries are shown.
struct HistoryFilter {
  std::string node;
  std::string signal;
  std::uint64_t since = 0;
  bool only_failed = false;

  bool IsAny() const { return !node.empty() || !signal.empty() || since > 0 || only_failed; }
  bool Takes(const Journal::Delivery& delivery) const;
};

class HistoryLines {
 public:
  // What is later in the record than a delivery that sent a signal, and says more of that; null for nothing. Asked for
  // at the first such delivery, and outlives this.
  using FindWhole = std::function<const BridgeWays*()>;

  HistoryLines(const HistoryFilter& filter, bool as_json, FindWhole find_whole)
      : filter_(filter), as_json_(as_json), find_whole_(std::move(find_whole)) {}
  // One of several: its lines begin with its name. The set outlives this.
  HistoryLines(const HistoryFilter& filter, bool as_json, const RecordSet& records, std::size_t record)
      : filter_(filter), as_json_(as_json), records_(&records), record_(record), whole_(&records.ways(record)) {}

  // In the order of the record; the lines that come of it, often none.
  std::string Take(const Journal::Event& event);
  // The record holds no more, and nobody writes it: a run that did not say that it ended was killed.
  std::string End();

  bool is_running() const { return is_running_; }
  // What the entry taken last ended, and when that was, in nanoseconds since 1970.
  const std::optional<Journal::Delivery>& ended() const { return ended_; }
  std::uint64_t time() const { return time_; }

 private:
  std::string Named(const std::string& text) const;
  std::string OfDelivery(const Journal::Delivery& delivery);
  const BridgeWays& WaysOf(const DeliveryPlace& place);

  const HistoryFilter filter_;
  const bool as_json_;
  const FindWhole find_whole_;
  const RecordSet* const records_ = nullptr;
  const std::size_t record_ = 0;
  const BridgeWays* whole_ = nullptr;
  BridgeWays ways_;  // as far as the record was taken
  Journal::DeliveryHistory history_;
  std::optional<Journal::Delivery> ended_;
  std::uint64_t begun_ = 0;
  std::uint64_t time_ = 0;
  bool is_running_ = false;
};

}  // namespace OrvWorkFlow::Program
