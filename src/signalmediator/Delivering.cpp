// The delivery of an input signal, on whatever thread it is performed, and what the node fires meanwhile.
#include <exception>
#include <utility>

#include "CoreObjects/Format.h"
#include "CoreObjects/SignalsOfThread.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

// Marks the thread: a node that fires from within its Signal, as most do, is known, and so is the cause.
class DeliveryScope {
 public:
  explicit DeliveryScope(const CurrentDelivery& delivery)
      : current_(ThisThreadsSignals().delivery), outer_(std::exchange(current_, delivery)) {}
  ~DeliveryScope() { current_ = outer_; }
  DeliveryScope(const DeliveryScope&) = delete;
  DeliveryScope& operator=(const DeliveryScope&) = delete;

 private:
  CurrentDelivery& current_;
  const CurrentDelivery outer_;
};

IRunObserver::Delivery MakeDelivery(const InputSignal& signal, const SignalSource& source) noexcept {
  return {source.number, source.sender, {signal.type, signal.instance, signal.signal}};
}

}  // namespace

void CSignalMediator::TellEnd(const InputSignal& signal, const SignalSource& source, IRunObserver::Outcome outcome,
                              const char* text) const noexcept {
  if (observer_) observer_.Tell(&IRunObserver::DeliveryEnded, MakeDelivery(signal, source), outcome, text);
}

void CSignalMediator::DeliverInputSignal(InputSignalMessage* message) {
  if (const UnansweredMessages::Taken taken = messages_.Take(message)) {
    Deliver(taken->texts(), taken->source(), taken->place());
  }
}

void CSignalMediator::Deliver(const InputSignal& signal, const SignalSource& source,
                              WorkNodeList::Place place) noexcept {
  bool done = false;
  ContentDirectories::Recalled recalled;
  WorkNodePointer entry;
  try {
    entry = Receive(signal, source, place, recalled);
  } catch (...) {  // The host's lock failed: like a node that is not there.
  }
  try {
    if (entry != nullptr) {
      done = DeliverTo(*entry, signal, source, std::move(recalled));
    } else {
      TellEnd(signal, source, IRunObserver::Outcome::NoNode);
      tracer_.Log(MediatorCategories::kSignal, MediatorLines::kNoNodeToFireOn, signal.type, signal.instance,
                  signal.signal);
    }
  } catch (...) {  // No memory for the text of a failure.
  }
  if (!done) ++failures_;
  ++finished_;
}

// A stop waits for deliveries to begin, not to end: the signal counts as received before the node sees it.
// What is known of the node's content directories is taken along.
WorkNodePointer CSignalMediator::Receive(const InputSignal& signal, const SignalSource& source,
                                         WorkNodeList::Place place, ContentDirectories::Recalled& recalled) {
  const AccessLock::Hold hold(access_lock_);
  WorkNodePointer entry = nodes_.GetAt(place, signal.type, signal.instance);
  Add(received_, 1);
  if (observer_) observer_.Tell(&IRunObserver::DeliveryBegun, MakeDelivery(signal, source));
  if (entry != nullptr) recalled = content_directories_.Recall(entry->content_directories);
  return entry;
}

// Only whoever holds the access lock changes these counters; everybody may read them.
void CSignalMediator::Add(std::atomic<std::uint32_t>& counter, int change) noexcept {
  counter.store(counter.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(change),
                std::memory_order_release);
}

bool CSignalMediator::DeliverTo(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                                ContentDirectories::Recalled recalled) {
  const auto [type, instance, name] = signal;
  tracer_.Log(MediatorCategories::kSignal, MediatorLines::kFiring, name, type, instance);
  const DeliveriesAtWork::Entry at_work(observer_ ? &at_work_ : nullptr, MakeDelivery(signal, source), entry);
  bool told = false;
  const auto tell_end = [&](IRunObserver::Outcome outcome, const char* text) {
    if (!std::exchange(told, true)) TellEnd(signal, source, outcome, text);
  };
  try {
    if (CallNode(entry, name, source.number, std::move(recalled))) {
      tell_end(IRunObserver::Outcome::Accepted, "");
      return true;
    }
    tell_end(IRunObserver::Outcome::Refused, "");
    std::string text = Format(MediatorBoxes::kSignalFalse, type, instance, name);
    tracer_.LogText(MediatorCategories::kSignal, text);
    text += MediatorBoxes::kSignalFalseEnd;
    ShowMediatorText(text);
  } catch (const std::exception& problem) {
    tell_end(IRunObserver::Outcome::Threw, problem.what());
    ShowThatItThrew(signal);
  } catch (...) {
    tell_end(IRunObserver::Outcome::Threw, "");
    ShowThatItThrew(signal);
  }
  return false;
}

bool CSignalMediator::CallNode(WorkNodeEntry& entry, const char* signal_name, std::uint64_t number,
                               ContentDirectories::Recalled recalled) {
  const DeliveryScope scope({this, &entry, number});
  RenewContentDirectories(entry, std::move(recalled));
  return entry.node->Signal(signal_name);
}

void CSignalMediator::ShowThatItThrew(const InputSignal& signal) {
  const std::string text = Format(MediatorBoxes::kSignalThrew, signal.type, signal.instance, signal.signal);
  tracer_.LogText(MediatorCategories::kSignal, text);
  ShowMediatorText(text);
}

void CSignalMediator::RenewContentDirectories(WorkNodeEntry& entry, ContentDirectories::Recalled recalled) {
  ContentDirectories::Flow& flow = recalled.flow;
  if (flow == nullptr && recalled.state.dictionary != nullptr) {
    flow = content_directories_.Read(recalled, entry.definition, entry.content_directories);
  }
  if (flow != nullptr && !flow->in_absorb_tree) {
    tracer_.Log(MediatorCategories::kContentDirectories, MediatorLines::kFlowNotInTree, flow->workflow_name.c_str());
  }
  entry.node->ResetContentDirectories();
  if (flow == nullptr) return;
  for (const std::string& directory : flow->directories) entry.node->AddContentDirectory(directory.c_str());
}

// No lock is taken: output signals go straight to the engine on the node's own thread.
bool CSignalMediator::Signal(IWorkNode* node, const char* signal_name) {
  if (node == nullptr || signal_name == nullptr) return false;
  try {
    const auto [mediator, delivering, number] = ThisThreadsSignals().delivery;
    if (mediator == this && delivering->node == node && delivering->has_names) {
      return ForwardFired(delivering->type, delivering->instance, signal_name);
    }
    const WorkNodePointer entry = nodes_.FindNode(node);
    if (entry != nullptr && entry->has_names) return ForwardFired(entry->type, entry->instance, signal_name);
    std::string type;
    std::string instance;
    if (AskNames(*node, type, instance)) return ForwardFired(type, instance, signal_name);
  } catch (...) {
  }
  TellLost({"", "", signal_name});
  return false;
}

void CSignalMediator::TellLost(const IRunObserver::Sender& sender) const noexcept {
  if (!observer_) return;
  observer_.Tell(&IRunObserver::SignalLost, IRunObserver::LostSignal{ThisThreadsSignals().delivery.number, sender, {}});
}

}  // namespace OrvWorkFlow::Core::Mediator
