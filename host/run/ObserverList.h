// One observer of a run for the library, several for the host.
#pragma once

#include <vector>

#include "OrvWorkFlow/IRunObserver.h"

namespace OrvWorkFlow::Host {

// Tells each of its observers, in the order in which they were added. Observers are added before the workflow starts
// and outlive the host; they are on the same terms as this one.
class ObserverList final : public IRunObserver {
 public:
  void Add(IRunObserver& observer) { observers_.push_back(&observer); }
  // Before those that are there: what it says of a delivery counts.
  void AddFirst(IRunObserver& observer) { observers_.insert(observers_.begin(), &observer); }
  // While nothing is told.
  void Remove(IRunObserver& observer) { std::erase(observers_, &observer); }

  void SignalQueued(const QueuedSignal& signal) override {
    for (IRunObserver* const observer : observers_) observer->SignalQueued(signal);
  }
  void SignalsDropped(std::uint64_t first, std::uint64_t count) override {
    for (IRunObserver* const observer : observers_) observer->SignalsDropped(first, count);
  }
  void SignalIgnored(const IgnoredSignal& signal) override {
    for (IRunObserver* const observer : observers_) observer->SignalIgnored(signal);
  }
  void MappingNotRead(const UnreadMapping& mapping) override {
    for (IRunObserver* const observer : observers_) observer->MappingNotRead(mapping);
  }
  void SignalLost(const LostSignal& signal) override {
    for (IRunObserver* const observer : observers_) observer->SignalLost(signal);
  }
  void DeliveryBegun(const Delivery& delivery) override {
    for (IRunObserver* const observer : observers_) observer->DeliveryBegun(delivery);
  }
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override {
    for (IRunObserver* const observer : observers_) observer->DeliveryEnded(delivery, outcome, text);
  }
  void RebootSignalFired(std::uint64_t number, const Receiver& receiver) override {
    for (IRunObserver* const observer : observers_) observer->RebootSignalFired(number, receiver);
  }
  void NodeMade(const char* type, const char* instance) override {
    for (IRunObserver* const observer : observers_) observer->NodeMade(type, instance);
  }

  // Those that are older do not have them.
  void NodeDescribed(const NodeFacts& node) override {
    for (IRunObserver* const observer : observers_) {
      if (observer->GetVersion() >= 2) observer->NodeDescribed(node);
    }
  }
  void ChangesHeld() override {
    for (IRunObserver* const observer : observers_) {
      if (observer->GetVersion() >= 2) observer->ChangesHeld();
    }
  }
  void FlowAbsorbed(const char* name, const char* file_path) override {
    for (IRunObserver* const observer : observers_) {
      if (observer->GetVersion() >= 2) observer->FlowAbsorbed(name, file_path);
    }
  }

  // The first that says it.
  bool NameDelivery(std::uint64_t number, DeliveryKey& key) override {
    for (IRunObserver* const observer : observers_) {
      if (observer->GetVersion() >= 3 && observer->NameDelivery(number, key)) return true;
    }
    return false;
  }

 private:
  std::vector<IRunObserver*> observers_;
};

}  // namespace OrvWorkFlow::Host
