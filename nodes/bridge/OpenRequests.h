// The requests of a BridgeAsk that have no outcome yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

#include "OrvWorkFlow/sdk/NodeRecord.h"

namespace OrvWorkFlow::Nodes::Bridge {

// In the node's folder: Open/N<number>, until when the answer is waited for, in milliseconds since 1970; 0 for ever. A
// clock that is set back makes nobody wait for longer than the limit from the time when the process began, and one that
// is set ahead meanwhile ends nothing.
class OpenRequests {
 public:
  // Delivery: reads what is recorded, the first time that it is called. The limit is that of the settings, 0 for none.
  void Load(const Sdk::NodeRecord& record, std::int64_t limit_seconds);
  // Delivery.
  void Add(Sdk::NodeRecord record, std::uint64_t number, std::int64_t limit_seconds);

  // Any thread.
  std::size_t Count() const;
  bool Has(std::uint64_t number) const;

  // The thread: the lowest one before `end` whose time is over; 0 for none.
  std::uint64_t FirstOverdue(std::uint64_t end) const;
  // The thread: it has an outcome.
  void Close(Sdk::NodeRecord record, std::uint64_t number);

 private:
  mutable std::mutex mutex_;  // A leaf.
  bool is_loaded_ = false;
  std::map<std::uint64_t, std::int64_t> due_;  // as Now counts
};

}  // namespace OrvWorkFlow::Nodes::Bridge
