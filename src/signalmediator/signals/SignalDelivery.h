// The delivery of input signals, on whatever thread it is performed.
#pragma once

#include "CoreObjects/SignalsOfThread.h"
#include "signalmediator/MediatorContext.h"
#include "signalmediator/nodes/ContentDirectories.h"
#include "signalmediator/signals/DeliveriesAtWork.h"
#include "signalmediator/signals/InputSignal.h"

namespace OrvWorkFlow::Core::Mediator {

// What a node throws is caught here, shown and counted as a failure.
class SignalDelivery {
 public:
  explicit SignalDelivery(MediatorContext& context) : context_(context) {}

  // The message in which a host application carries the signal. Throws without memory for it. With the access lock
  // held.
  InputSignalMessage* AddMessage(CarriedSignal carried);
  // False when it has been delivered meanwhile.
  bool TakeBack(const InputSignalMessage* message) noexcept;
  // One that was delivered or taken back before is passed over.
  void DeliverMessage(InputSignalMessage* message);

  // At once, by whoever fires, with the access lock held. Where the host's runtime has no mutex nothing is locked.
  void DeliverLocked(const InputSignal& signal, const SignalSource& source, WorkNodeList::Place place) noexcept;

  void TellEnd(const InputSignal& signal, const SignalSource& source, IRunObserver::Outcome outcome,
               const char* text = "", const char* continuation = nullptr) const noexcept;

  // The node that this thread delivers to now, if it is that one and has names; else null.
  const WorkNodeEntry* NodeBeingCalled(const IWorkNode* node) const noexcept {
    const CurrentDelivery& delivery = ThisThreadsSignals().delivery;
    const WorkNodeEntry* const entry = delivery.entry;
    return delivery.performer == this && entry->node == node && entry->has_names ? entry : nullptr;
  }

  const DeliveriesAtWork& at_work() const { return at_work_; }

 private:
  // A delivery that has begun: its node, if it is there, and what is known of the node's content directories.
  struct Received {
    WorkNodeEntry* entry = nullptr;
    WorkNodePointer owner;  // of the entry, when it is shared
    ContentDirectories::Recalled recalled;
  };
  Received Receive(const InputSignal& signal, WorkNodeList::Place place);
  Received ReceiveLocked(const InputSignal& signal, WorkNodeList::Place place);
  void DeliverUnlocked(const InputSignal& signal, const SignalSource& source, WorkNodeList::Place place) noexcept;
  bool TakeAndReceive(const InputSignalMessage* message, CarriedSignal& carried, Received& received) noexcept;
  void TellBegun(const InputSignal& signal, const SignalSource& source) const noexcept;
  void Deliver(const InputSignal& signal, const SignalSource& source, const Received& received) noexcept;
  bool DeliverTo(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                 const ContentDirectories::Recalled& recalled);
  bool DeliverObserved(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                       const ContentDirectories::Recalled& recalled);
  bool CallAndTell(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                   const ContentDirectories::Recalled& recalled);
  bool CallNode(WorkNodeEntry& entry, const char* signal_name, std::uint64_t number,
                const ContentDirectories::Recalled& recalled);
  void ShowThatItThrew(const InputSignal& signal) const;
  void RenewContentDirectories(WorkNodeEntry& entry, const ContentDirectories::Recalled& recalled);

  MediatorContext& context_;
  DeliveriesAtWork at_work_;
  UnansweredMessages messages_;
  ContentDirectories content_directories_;
};

}  // namespace OrvWorkFlow::Core::Mediator
