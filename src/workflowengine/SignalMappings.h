// Which input signals an output signal leads to. The mappings live in the dictionary below their sender.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "CoreObjects/TextHash.h"
#include "CoreObjects/WatchedGlobalDictionary.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/lock/RecursiveMutex.h"
#include "workflowengine/SignalQueue.h"

namespace OrvWorkFlow::Core::Engine {

// Three names: type, instance and signal of a sender or a receiver. Of a sender, zero-terminated.
struct SignalName {
  std::string_view type;
  std::string_view instance;
  std::string_view signal;
};

// The names of a sender, each zero-terminated.
struct SenderTexts {
  const char* type;
  const char* instance;
  const char* signal;

  operator SignalName() const { return {type, instance, signal}; }
};

// The operations on the mappings of the dictionary. Any thread; they may throw for lack of memory.

// The first that is equal; false when none is.
bool RemoveMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver);
void RemoveAllMappings(IDictionary& dictionary);

// The part of the dictionary in which mappings are.
inline constexpr std::array<const char*, 1> kWatchedMappings = {WorkflowSchema::kAllMaps};
using MappingsDictionary = WatchedGlobalDictionary<kWatchedMappings>;

// Adds mappings, each at the lowest free number of its sender. Remembers those numbers as long as nobody else changes
// mappings, so that many mappings of one sender are added without looking at those that are there. Any thread; adds
// wait for each other.
class MappingAdder {
 public:
  // Answers what the global dictionary answers; false without one.
  bool Add(const SignalName& sender, const SignalName& receiver);

 private:
  // The lowest free number below the sender's maps key.
  std::uint64_t FindFree(const WatchedState& state, const std::string& maps_path);
  void Remember(const WatchedState& state, const std::string& maps_path, std::uint64_t next);

  Base::RecursiveMutex mutex_;  // before the dictionary's; a listener of the dictionary may add mappings
  MappingsDictionary dictionary_;
  WatchedState state_;  // in which `next_` holds
  std::unordered_map<std::string, std::uint64_t> next_;
};

// What an output signal leads to.
struct MappedSignal {
  enum class Outcome {
    Mapped,     // to the receivers, possibly none
    NoMapsKey,  // the sender has no mappings, not even an empty key for them
    Failed,     // behind the receivers stands something that cannot be read or is not three parts
  };
  Outcome outcome = Outcome::Failed;
  std::vector<QueueEntry::Source> receivers;  // of entries for the queue, in the dictionary's order

  // After a failure: the child that could not be read, "" when they could not be listed, and its text if it has one.
  std::string unread_child;
  std::optional<std::string> unread_text;
  bool no_memory = false;  // for its text, which is there
};

// The dictionary path of a mapping, or with "" of all mappings of the sender's signal.
std::string MappingPath(const SignalName& sender, const std::string& child);

// Reads mappings, and keeps what it read as long as the mappings do not change. One thread at a time.
class SignalMappings {
 public:
  // So many signals are remembered, some 300 bytes each, so that made-up names cannot fill the memory.
  static constexpr std::size_t kMostKnown = std::size_t{1} << 17;

  explicit SignalMappings(std::size_t most_known = kMostKnown) : most_known_(most_known) {}

  // `now` was taken just before, and has a dictionary. The answer is valid until the next call.
  const MappedSignal& Find(const WatchedState& now, const SenderTexts& sender) {
    const Recent& recent = recent_[RecentSlot(sender)];
    if (recent.known != nullptr && recent.known->state == now && recent.IsOf(sender)) return recent.known->mapped;
    return FindByText(now, sender);
  }

  std::size_t Size() const noexcept { return known_.size(); }
  void Forget() noexcept {
    recent_.fill({});
    known_.clear();
  }

 private:
  struct Known {
    WatchedState state;
    MappedSignal mapped;
  };
  using KnownSignals = std::unordered_map<std::string, Known, TextHash, std::equal_to<>>;

  // What was found for names at these addresses: whoever fires often passes the same texts every time.
  struct Recent {
    bool IsOf(const SenderTexts& sender) const noexcept {
      return AreEqual(signal, sender.signal) && AreEqual(instance, sender.instance) && AreEqual(type, sender.type);
    }
    // Names are short: to call a library for them takes longer.
    static bool AreEqual(const char* name, const char* other) noexcept {
      while (*name == *other && *name != '\0') {
        ++name;
        ++other;
      }
      return *name == *other;
    }

    const char* type = nullptr;  // the parts of its key
    const char* instance = nullptr;
    const char* signal = nullptr;
    const Known* known = nullptr;
  };
  static constexpr std::size_t kRecentSenders = 64;

  static std::size_t RecentSlot(const SenderTexts& sender) noexcept {
    constexpr int kWithinABlock = 3;  // these bits of an address hardly differ
    const auto address = [](const char* text) { return reinterpret_cast<std::uintptr_t>(text); };
    return ((address(sender.type) ^ address(sender.instance) * 3 ^ address(sender.signal) * 5) >> kWithinABlock) %
           kRecentSenders;
  }
  const MappedSignal& FindByText(const WatchedState& now, const SenderTexts& texts);
  KnownSignals::iterator MakeRoomFor(const std::string& key);
  void ForgetOne() noexcept;

  const std::size_t most_known_;
  KnownSignals known_;
  std::uint32_t next_forgotten_ = 1;  // a number that hops about
  std::array<Recent, kRecentSenders> recent_;
  std::string key_;  // of the signal being looked for; kept for its room
  MappedSignal not_kept_;
};

}  // namespace OrvWorkFlow::Core::Engine
