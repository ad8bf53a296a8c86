// What engine and mediator know of the signals that this thread carries.
#pragma once

#include <cstdint>
#include <memory>

#include "CoreObjects/HandOvers.h"
#include "CoreObjects/SignalTexts.h"
#include "OrvWorkFlow/IRunObserver.h"

namespace OrvWorkFlow::Core::Mediator {
class SignalDelivery;
struct WorkNodeEntry;
}  // namespace OrvWorkFlow::Core::Mediator

namespace OrvWorkFlow::Core {

// Where a signal comes from: its number (see IRunObserver.h; 0 before it has one), who fired it, what counts it while a
// host application carries it (null: nothing does), and its texts if they can be shared.
struct SignalSource {
  std::uint64_t number = 0;
  IRunObserver::Sender sender;
  const std::shared_ptr<HandOvers>* hand_overs = nullptr;
  const SignalTexts* texts = nullptr;
};

// The delivery that a thread performs now.
struct CurrentDelivery {
  const Mediator::SignalDelivery* performer = nullptr;
  const Mediator::WorkNodeEntry* entry = nullptr;
  std::uint64_t number = 0;
};

// What the mediator knows of an output signal that it passes on to the engine and that no delivery of this thread has
// caused: the number of the delivery to the same node that has not ended, and how the node's work would go on.
struct FiredOutside {
  std::uint64_t during = 0;
  const char* continuation = nullptr;
};

struct SignalsOfThread {
  // Set by the pump before it fires an input signal and taken by the mediator: an operation of its public face has no
  // place for it.
  SignalSource* to_fire = nullptr;
  CurrentDelivery delivery;
  FiredOutside fired;
};
inline SignalsOfThread& ThisThreadsSignals() noexcept {
  static constinit thread_local SignalsOfThread signals;
  return signals;
}

}  // namespace OrvWorkFlow::Core
