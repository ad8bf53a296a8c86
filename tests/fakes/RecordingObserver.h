// An observer that writes down what it is told, a line each.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/IRunObserver.h"

namespace orv_test {

// Any thread. A number past the queue is written as "x1", "x2"..., a sender or receiver as "Type.Instance.signal", "-"
// where there is none.
class RecordingObserver final : public OrvWorkFlow::IRunObserver {
 public:
  void SignalQueued(const QueuedSignal& signal) override {
    Add((signal.restored ? "restored " : "queued ") + Number(signal.number) + " by " + Number(signal.cause) + ": " +
        Name(signal.sender) + " > " + Name(signal.receiver));
  }
  void SignalsDropped(std::uint64_t first, std::uint64_t count) override {
    Add("dropped " + Number(first) + " and " + std::to_string(count - 1) + " more");
  }
  void SignalIgnored(const IgnoredSignal& signal) override {
    Add("ignored by " + Number(signal.cause) + ": " + Name(signal.sender) + (signal.has_maps_key ? " (key)" : ""));
  }
  void MappingNotRead(const UnreadMapping& mapping) override {
    Add("not read by " + Number(mapping.cause) + ": " + Name(mapping.sender) + ": " + mapping.path + " '" +
        (mapping.text != nullptr ? mapping.text : "(none)") + "'");
  }
  void SignalLost(const LostSignal& signal) override {
    Add(std::string("lost by ") + Number(signal.cause) + ": " + Name(signal.sender) + " > " + Name(signal.receiver) +
        (signal.reason == LossReason::NoMemory ? " no memory" : " no dictionary"));
  }
  void DeliveryBegun(const Delivery& delivery) override {
    Add("begun " + Number(delivery.number) + ": " + Name(delivery.sender) + " > " + Name(delivery.receiver));
  }
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override {
    static constexpr const char* kOutcomes[] = {"accepted", "refused",      "threw",    "no node",
                                                "no type",  "host refused", "no memory"};
    Add("ended " + Number(delivery.number) + ": " + Name(delivery.sender) + " > " + Name(delivery.receiver) + " " +
        kOutcomes[static_cast<int>(outcome)] + (*text != '\0' ? std::string(": ") + text : ""));
  }
  void RebootSignalFired(std::uint64_t number, const Receiver& receiver) override {
    Add("reboot " + Number(number) + " > " + Name(receiver));
  }
  void NodeMade(const char* type, const char* instance) override { Add(std::string("made ") + type + "." + instance); }

  struct Entry {
    std::string line;
    std::thread::id thread;
  };
  std::vector<Entry> Entries() const {
    const std::scoped_lock lock(mutex_);
    return entries_;
  }
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (Entry& entry : Entries()) lines.push_back(std::move(entry.line));
    return lines;
  }
  void Clear() {
    const std::scoped_lock lock(mutex_);
    entries_.clear();
  }

 private:
  static std::string Number(std::uint64_t number) {
    return number > kPastQueue ? "x" + std::to_string(number - kPastQueue) : std::to_string(number);
  }
  template <class Names>
  static std::string Name(const Names& names) {
    const std::string type = names.type;
    return type.empty() ? "-" : type + "." + names.instance + "." + names.signal;
  }
  void Add(std::string line) {
    const std::scoped_lock lock(mutex_);
    entries_.push_back({std::move(line), std::this_thread::get_id()});
  }

  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
};

}  // namespace orv_test
