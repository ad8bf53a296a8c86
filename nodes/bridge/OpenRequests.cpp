#include "nodes/bridge/OpenRequests.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>

#include "base/dictionary/DictionaryReading.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr char kOpen[] = "Open";
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

std::string EntryOf(std::uint64_t number) { return std::string(kOpen) + "/" + NameOfNumber(number); }

std::int64_t WallClock() {
  const auto passed = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
}

}  // namespace

void OpenRequests::Load(const Sdk::NodeRecord& record, std::int64_t limit_seconds) {
  const std::lock_guard lock(mutex_);
  if (is_loaded_) return;
  due_.clear();  // Of a load that failed on its way.
  for (const std::string& name : Base::NamesBelow(Outbox::Dictionary(), record.PathOf(kOpen))) {
    const std::uint64_t number = NumberOfName(name);
    if (number == 0) continue;
    const std::int64_t until = record.Number(EntryOf(number));
    std::int64_t rest = std::max<std::int64_t>(0, until - WallClock());
    if (limit_seconds > 0) rest = std::min(rest, 1000 * limit_seconds);
    due_.emplace(number, until == 0 ? kNever : Now() + rest);
  }
  is_loaded_ = true;
}

void OpenRequests::Add(Sdk::NodeRecord record, std::uint64_t number, std::int64_t limit_seconds) {
  const std::int64_t limit = 1000 * limit_seconds;
  record.SetNumber(EntryOf(number), limit == 0 ? 0 : WallClock() + limit);
  const std::lock_guard lock(mutex_);
  due_[number] = limit == 0 ? kNever : Now() + limit;
}

std::size_t OpenRequests::Count() const {
  const std::lock_guard lock(mutex_);
  return due_.size();
}

bool OpenRequests::Has(std::uint64_t number) const {
  const std::lock_guard lock(mutex_);
  return due_.contains(number);
}

std::uint64_t OpenRequests::FirstOverdue(std::uint64_t end) const {
  const std::int64_t now = Now();
  const std::lock_guard lock(mutex_);
  for (const auto& [number, due] : due_) {
    if (number >= end) break;
    if (due <= now) return number;
  }
  return 0;
}

void OpenRequests::Close(Sdk::NodeRecord record, std::uint64_t number) {
  record.Remove(EntryOf(number));
  const std::lock_guard lock(mutex_);
  due_.erase(number);
}

}  // namespace OrvWorkFlow::Nodes::Bridge
