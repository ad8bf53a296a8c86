// The delivery of an input signal, on whatever thread it is performed, and what the node fires meanwhile.
#include <exception>
#include <optional>
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
  CarriedSignal carried;
  Received received;
  if (!TakeAndReceive(message, carried, received)) return;
  Deliver(carried.signal(), carried.source(), received);
  ++finished_;
}

// The observer is foreign, and wants the whole lock held.
bool CSignalMediator::TakeAndReceive(const InputSignalMessage* message, CarriedSignal& carried,
                                     Received& received) noexcept {
  const bool tells = static_cast<bool>(observer_);
  std::optional<AccessLock::Hold> hold;
  if (tells) hold.emplace(access_lock_);
  const AccessLock::Beginning beginning(access_lock_);
  if (!messages_.Take(message, carried)) return false;
  received = Receive(carried.signal(), carried.place);
  if (tells) TellBegun(carried.signal(), carried.source());
  return true;
}

void CSignalMediator::TellBegun(const InputSignal& signal, const SignalSource& source) const noexcept {
  if (observer_) observer_.Tell(&IRunObserver::DeliveryBegun, MakeDelivery(signal, source));
}

// Where the host's runtime has no mutex nothing is locked.
void CSignalMediator::DeliverLocked(const InputSignal& signal, const SignalSource& source,
                                    WorkNodeList::Place place) noexcept {
  const bool is_locked = static_cast<bool>(access_lock_);
  const Received received = is_locked ? ReceiveLocked(signal, place) : Receive(signal, place);
  TellBegun(signal, source);
  Deliver(signal, source, received);
  if (!is_locked) {
    ++finished_;
    return;
  }
  Add(finished_locked_, 1);
  if (received.entry == nullptr) return;
  std::atomic<std::uint32_t>& deliveries = received.entry->locked_deliveries;
  Add(deliveries, -1);
  if (deliveries.load(std::memory_order_relaxed) > 0) return;
  const WorkNodePointer last = std::move(received.entry->forgotten);
}

void CSignalMediator::Deliver(const InputSignal& signal, const SignalSource& source,
                              const Received& received) noexcept {
  bool done = false;
  try {
    if (received.entry != nullptr) {
      done = DeliverTo(*received.entry, signal, source, received.recalled);
    } else {
      TellEnd(signal, source, IRunObserver::Outcome::NoNode);
      tracer_.Log(MediatorCategories::kSignal, MediatorLines::kNoNodeToFireOn, signal.type, signal.instance,
                  signal.signal);
    }
  } catch (...) {  // No memory for the text of a failure.
  }
  if (!done) ++failures_;
}

// A stop waits for deliveries to begin, not to end: the signal counts as received before the node sees it.
// What is known of the node's content directories is taken along. With the second half of the access lock held.
CSignalMediator::Received CSignalMediator::Receive(const InputSignal& signal, WorkNodeList::Place place) {
  Received received;
  received.owner = nodes_.GetAt(place, signal.type, signal.instance);
  received.entry = received.owner.get();
  Add(received_, 1);
  if (received.entry == nullptr) return received;
  const bool is_lent = received.entry->locked_deliveries.load(std::memory_order_acquire) > 0;
  received.recalled =
      content_directories_.Recall(received.entry->content_directories, ContentDirectories::Giving::Share, is_lent);
  return received;
}

// The same without a host application, with the first half held until the delivery has ended: there are no messages
// that another thread could take.
CSignalMediator::Received CSignalMediator::ReceiveLocked(const InputSignal& signal, WorkNodeList::Place place) {
  Received received;
  received.entry = nodes_.LookAt(place, signal.type, signal.instance);
  Add(received_, 1);
  if (received.entry == nullptr) return received;
  std::atomic<std::uint32_t>& locked = received.entry->locked_deliveries;
  const bool is_lent = locked.load(std::memory_order_relaxed) > 0;
  received.recalled =
      content_directories_.Recall(received.entry->content_directories, ContentDirectories::Giving::Lend, is_lent);
  Add(locked, 1);
  return received;
}

// Only whoever holds the access lock changes these counters; everybody may read them.
void CSignalMediator::Add(std::atomic<std::uint32_t>& counter, int change) noexcept {
  counter.store(counter.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(change),
                std::memory_order_release);
}

bool CSignalMediator::DeliverTo(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                                const ContentDirectories::Recalled& recalled) {
  const auto [type, instance, name] = signal;
  tracer_.Log(MediatorCategories::kSignal, MediatorLines::kFiring, name, type, instance);
  std::optional<DeliveriesAtWork::Entry> at_work;
  if (observer_) at_work.emplace(at_work_, MakeDelivery(signal, source), entry);
  bool told = false;
  const auto tell_end = [&](IRunObserver::Outcome outcome, const char* text) {
    if (!std::exchange(told, true)) TellEnd(signal, source, outcome, text);
  };
  try {
    if (CallNode(entry, name, source.number, recalled)) {
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
                               const ContentDirectories::Recalled& recalled) {
  const DeliveryScope scope({this, &entry, number});
  RenewContentDirectories(entry, recalled);
  return entry.node->Signal(signal_name);
}

void CSignalMediator::ShowThatItThrew(const InputSignal& signal) {
  const std::string text = Format(MediatorBoxes::kSignalThrew, signal.type, signal.instance, signal.signal);
  tracer_.LogText(MediatorCategories::kSignal, text);
  ShowMediatorText(text);
}

void CSignalMediator::RenewContentDirectories(WorkNodeEntry& entry, const ContentDirectories::Recalled& recalled) {
  ContentDirectories::Flow read;
  const FlowDirectories* flow = recalled.flow;
  if (flow == nullptr && recalled.state.dictionary != nullptr) {
    read = content_directories_.Read(recalled, entry.definition, entry.content_directories);
    flow = read.get();
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
