// The signals with which stopped nodes want to go on after a restart.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Mediator {

struct RebootSignalRecord {
  std::string signal;
  std::string type;
  std::string instance;
};

// Any thread; a leaf lock.
class RebootSignals {
 public:
  void Clear() { Replace({}); }
  void Replace(std::vector<RebootSignalRecord> records) {
    const Base::Hold lock(mutex_);
    records_.swap(records);
  }
  void Append(RebootSignalRecord record) {
    const Base::Hold lock(mutex_);
    records_.push_back(std::move(record));
  }
  // All of them, which are forgotten.
  std::vector<RebootSignalRecord> Take() noexcept {
    const Base::Hold lock(mutex_);
    return std::exchange(records_, {});
  }
  std::vector<RebootSignalRecord> Copy() const {
    const Base::Hold lock(mutex_);
    return records_;
  }

 private:
  mutable Base::Mutex mutex_;
  std::vector<RebootSignalRecord> records_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Mediator
