// What the engine tells the observer of a run.
#pragma once

#include <cstdint>

#include "CoreObjects/RunObserverSlot.h"
#include "workflowengine/SignalMappings.h"
#include "workflowengine/SignalQueue.h"

namespace OrvWorkFlow::Core::Engine {

// What made a node fire: the number of a delivery, 0 for none, and for an output signal that none has caused how the
// node's work would go on (null: not known).
struct SignalCause {
  std::uint64_t number = 0;
  const char* continuation = nullptr;
  std::uint64_t during = 0;  // without a number: the delivery to the sender that has not ended
};

// Any thread. Without an observer nothing is done. `cause` is a delivery's number, 0 for none.
class EngineEvents {
 public:
  void SetObserver(IRunObserver* observer) noexcept { observer_.Set(observer); }
  explicit operator bool() const noexcept { return static_cast<bool>(observer_); }

  void Queued(std::uint64_t number, const SignalCause& cause, const QueueEntry& entry, bool restored,
              std::size_t more = 0) const noexcept;
  void Dropped(std::uint64_t first, std::uint64_t count) const noexcept;
  void Ignored(const SignalCause& cause, const SignalName& sender, const MappedSignal& mapped) const noexcept;
  void NotRead(std::uint64_t cause, const SignalName& sender, const MappedSignal& mapped) const noexcept;

  void Absorbed(const char* name, const char* file_path) const noexcept;

  using Reason = IRunObserver::LossReason;
  // `reached`: its mappings that were queued.
  void Lost(std::uint64_t cause, const SignalName& sender, Reason reason, std::size_t reached = 0) const noexcept;
  void Lost(std::uint64_t cause, const QueueEntry& entry) const noexcept;  // for lack of memory

 private:
  RunObserverSlot observer_;
};

inline IRunObserver::Sender SenderOf(const QueueEntry& entry) noexcept {
  return {entry.Text(QueueEntry::SenderType), entry.Text(QueueEntry::SenderInstance),
          entry.Text(QueueEntry::OutgoingSignal)};
}

}  // namespace OrvWorkFlow::Core::Engine
