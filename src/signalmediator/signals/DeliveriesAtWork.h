// The deliveries that have begun and not ended, for whoever wants to look.
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "OrvWorkFlow/IRunReport.h"
#include "base/lock/Mutex.h"
#include "signalmediator/nodes/WorkNodeList.h"

namespace OrvWorkFlow::Core::Mediator {

// Any thread. Its mutex is a leaf.
class DeliveriesAtWork {
  using Clock = std::chrono::steady_clock;

 public:
  // A delivery, for as long as it lives. What it points to must outlive it.
  class Entry {
   public:
    // One that finds no memory is not listed.
    Entry(DeliveriesAtWork& all, const IRunObserver::Delivery& delivery, const WorkNodeEntry& node) noexcept
        : all_(&all), delivery_(delivery), node_(&node), since_(Clock::now()) {
      const Base::Hold lock(all_->mutex_);
      try {
        all_->entries_.push_back(this);
      } catch (...) {
        all_ = nullptr;
      }
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    ~Entry() {
      if (all_ == nullptr) return;
      const Base::Hold lock(all_->mutex_);
      std::erase(all_->entries_, this);
    }

   private:
    friend class DeliveriesAtWork;
    DeliveriesAtWork* all_;
    const IRunObserver::Delivery delivery_;
    const WorkNodeEntry* const node_;
    const Clock::time_point since_;
  };

  // Owns its texts.
  struct Copied {
    std::uint64_t number;
    std::string texts[6];       // of sender and receiver
    const WorkNodeEntry* node;  // not to be followed
    std::uint64_t milliseconds;
  };
  // Throws when there is no memory.
  std::vector<Copied> Copy() const {
    const Clock::time_point now = Clock::now();
    std::vector<Copied> copies;
    const Base::Hold lock(mutex_);
    for (const Entry* entry : entries_) {
      const auto& [number, sender, receiver, continuation] = entry->delivery_;
      const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(now - entry->since_).count();
      copies.push_back(
          {number,
           {sender.type, sender.instance, sender.signal, receiver.type, receiver.instance, receiver.signal},
           entry->node_,
           static_cast<std::uint64_t>(std::max<decltype(passed)>(passed, 0))});
    }
    return copies;
  }

 private:
  mutable Base::Mutex mutex_;
  std::vector<const Entry*> entries_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Mediator
