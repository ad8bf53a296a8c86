#include "signalmediator/signals/SignalDelivery.h"

#include <exception>
#include <optional>
#include <utility>

#include "CoreObjects/Format.h"
#include "CoreObjects/SignalsOfThread.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"

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

IRunObserver::Delivery MakeDelivery(const InputSignal& signal, const SignalSource& source,
                                    const char* continuation = nullptr) noexcept {
  return {source.number, source.sender, {signal.type, signal.instance, signal.signal}, continuation};
}

}  // namespace

void SignalDelivery::TellEnd(const InputSignal& signal, const SignalSource& source, IRunObserver::Outcome outcome,
                             const char* text, const char* continuation) const noexcept {
  if (!context_.observer) return;
  context_.observer.Tell(&IRunObserver::DeliveryEnded, MakeDelivery(signal, source, continuation), outcome, text);
}

InputSignalMessage* SignalDelivery::AddMessage(CarriedSignal carried) {
  if (messages_.NeedsRoom()) {
    const AccessLock::Beginning beginning(context_.access_lock);
    messages_.MakeRoom();
  }
  return messages_.Add(std::move(carried));
}

bool SignalDelivery::TakeBack(const InputSignalMessage* message) noexcept {
  CarriedSignal carried;
  const AccessLock::Beginning beginning(context_.access_lock);
  return messages_.Take(message, carried);
}

[[gnu::always_inline]] inline void SignalDelivery::TellBegun(const InputSignal& signal,
                                                             const SignalSource& source) const noexcept {
  if (context_.observer) context_.observer.Tell(&IRunObserver::DeliveryBegun, MakeDelivery(signal, source));
}

[[gnu::always_inline]] inline void SignalDelivery::RenewContentDirectories(
    WorkNodeEntry& entry, const ContentDirectories::Recalled& recalled) {
  ContentDirectories::Flow read;
  const FlowDirectories* flow = recalled.flow;
  if (flow == nullptr && recalled.state.dictionary != nullptr) {
    read = content_directories_.Read(recalled, entry.definition, entry.content_directories);
    flow = read.get();
  }
  if (flow != nullptr && !flow->in_absorb_tree) {
    context_.tracer.Log(MediatorCategories::kContentDirectories, MediatorLines::kFlowNotInTree,
                        flow->workflow_name.c_str());
  }
  entry.node->ResetContentDirectories();
  if (flow == nullptr) return;
  for (const std::string& directory : flow->directories) entry.node->AddContentDirectory(directory.c_str());
}

[[gnu::always_inline]] inline bool SignalDelivery::CallNode(WorkNodeEntry& entry, const char* signal_name,
                                                            std::uint64_t number,
                                                            const ContentDirectories::Recalled& recalled) {
  const DeliveryScope scope({this, &entry, number});
  RenewContentDirectories(entry, recalled);
  return entry.node->Signal(signal_name);
}

[[gnu::always_inline]] inline bool SignalDelivery::CallAndTell(WorkNodeEntry& entry, const InputSignal& signal,
                                                               const SignalSource& source,
                                                               const ContentDirectories::Recalled& recalled) {
  const auto [type, instance, name] = signal;
  bool told = false;
  const auto tell_end = [&](IRunObserver::Outcome outcome, const char* text) {
    if (std::exchange(told, true) || !context_.observer) return;
    const char* const continuation = entry.continuation == nullptr ? nullptr : entry.continuation->GetContinuation();
    TellEnd(signal, source, outcome, text, continuation);
    entry.delivery.store(0, std::memory_order_release);
  };
  try {
    if (CallNode(entry, name, source.number, recalled)) {
      tell_end(IRunObserver::Outcome::Accepted, "");
      return true;
    }
    tell_end(IRunObserver::Outcome::Refused, "");
    std::string text = Format(MediatorBoxes::kSignalFalse, type, instance, name);
    context_.tracer.LogText(MediatorCategories::kSignal, text);
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

[[gnu::always_inline]] inline bool SignalDelivery::DeliverTo(WorkNodeEntry& entry, const InputSignal& signal,
                                                             const SignalSource& source,
                                                             const ContentDirectories::Recalled& recalled) {
  context_.tracer.Log(MediatorCategories::kSignal, MediatorLines::kFiring, signal.signal, signal.type, signal.instance);
  return context_.observer ? DeliverObserved(entry, signal, source, recalled)
                           : CallAndTell(entry, signal, source, recalled);
}

bool SignalDelivery::DeliverObserved(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                                     const ContentDirectories::Recalled& recalled) {
  const DeliveriesAtWork::Entry at_work(at_work_, MakeDelivery(signal, source), entry);
  entry.delivery.store(source.number, std::memory_order_release);
  return CallAndTell(entry, signal, source, recalled);
}

[[gnu::always_inline]] inline void SignalDelivery::Deliver(const InputSignal& signal, const SignalSource& source,
                                                           const Received& received) noexcept {
  bool done = false;
  try {
    if (received.entry != nullptr) {
      done = DeliverTo(*received.entry, signal, source, received.recalled);
    } else {
      TellEnd(signal, source, IRunObserver::Outcome::NoNode);
      context_.tracer.Log(MediatorCategories::kSignal, MediatorLines::kNoNodeToFireOn, signal.type, signal.instance,
                          signal.signal);
    }
  } catch (...) {  // No memory for the text of a failure.
  }
  if (!done) ++context_.counts.failures;
}

void SignalDelivery::DeliverMessage(InputSignalMessage* message) {
  CarriedSignal carried;
  Received received;
  if (!TakeAndReceive(message, carried, received)) return;
  Deliver(carried.signal(), carried.source(), received);
  ++context_.counts.finished;
}

// The observer is foreign, and wants the whole lock held.
bool SignalDelivery::TakeAndReceive(const InputSignalMessage* message, CarriedSignal& carried,
                                    Received& received) noexcept {
  const bool tells = static_cast<bool>(context_.observer);
  std::optional<AccessLock::Hold> hold;
  if (tells) hold.emplace(context_.access_lock);
  const AccessLock::Beginning beginning(context_.access_lock);
  if (!messages_.Take(message, carried)) return false;
  received = Receive(carried.signal(), carried.place);
  if (tells) TellBegun(carried.signal(), carried.source());
  return true;
}

// A stop waits for deliveries to begin, not to end: the signal counts as received before the node sees it.
// What is known of the node's content directories is taken along. With the second half of the access lock held.
SignalDelivery::Received SignalDelivery::Receive(const InputSignal& signal, WorkNodeList::Place place) {
  Received received;
  received.owner = context_.nodes.GetAt(place, signal.type, signal.instance);
  received.entry = received.owner.get();
  MediatorCounts::Add(context_.counts.received, 1);
  if (received.entry == nullptr) return received;
  const bool is_lent = received.entry->locked_deliveries.load(std::memory_order_acquire) > 0;
  content_directories_.Recall(received.entry->content_directories, ContentDirectories::Giving::Share, is_lent,
                              received.recalled);
  return received;
}

// The same without a host application, with the first half held until the delivery has ended: there are no messages
// that another thread could take.
[[gnu::always_inline]] inline SignalDelivery::Received SignalDelivery::ReceiveLocked(const InputSignal& signal,
                                                                                     WorkNodeList::Place place) {
  Received received;
  received.entry = context_.nodes.LookAt(place, signal.type, signal.instance);
  MediatorCounts::Add(context_.counts.received, 1);
  if (received.entry == nullptr) return received;
  std::atomic<std::uint32_t>& locked = received.entry->locked_deliveries;
  const bool is_lent = locked.load(std::memory_order_relaxed) > 0;
  content_directories_.Recall(received.entry->content_directories, ContentDirectories::Giving::Lend, is_lent,
                              received.recalled);
  MediatorCounts::Add(locked, 1);
  return received;
}

void SignalDelivery::DeliverUnlocked(const InputSignal& signal, const SignalSource& source,
                                     WorkNodeList::Place place) noexcept {
  const Received received = Receive(signal, place);
  TellBegun(signal, source);
  Deliver(signal, source, received);
  ++context_.counts.finished;
}

void SignalDelivery::DeliverLocked(const InputSignal& signal, const SignalSource& source,
                                   WorkNodeList::Place place) noexcept {
  if (!context_.access_lock) {
    DeliverUnlocked(signal, source, place);
    return;
  }
  const Received received = ReceiveLocked(signal, place);
  TellBegun(signal, source);
  Deliver(signal, source, received);
  MediatorCounts::Add(context_.counts.finished_locked, 1);
  if (received.entry == nullptr) return;
  std::atomic<std::uint32_t>& deliveries = received.entry->locked_deliveries;
  MediatorCounts::Add(deliveries, -1);
  if (deliveries.load(std::memory_order_relaxed) > 0) return;
  const WorkNodePointer last = std::move(received.entry->forgotten);
}

void SignalDelivery::ShowThatItThrew(const InputSignal& signal) const {
  const std::string text = Format(MediatorBoxes::kSignalThrew, signal.type, signal.instance, signal.signal);
  context_.tracer.LogText(MediatorCategories::kSignal, text);
  ShowMediatorText(text);
}

}  // namespace OrvWorkFlow::Core::Mediator
