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

#include "CoreObjects/RecursiveMutex.h"
#include "CoreObjects/TextHash.h"
#include "OrvWorkFlow/IDictionary.h"
#include "workflowengine/SignalQueue.h"

namespace OrvWorkFlow {

// Three names: type, instance and signal of a sender or a receiver. Of a sender, zero-terminated.
struct SignalName {
  std::string_view type;
  std::string_view instance;
  std::string_view signal;
};

// The operations on the mappings of the dictionary. Any thread; they may throw for lack of memory.

// The first that is equal; false when none is.
bool RemoveMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver);
void RemoveAllMappings(IDictionary& dictionary);

// Adds mappings, each at the lowest free number of its sender. Remembers those numbers as long as nobody else changes
// the dictionary, so that many mappings of one sender are added without looking at those that are there. Any thread;
// adds wait for each other.
class MappingAdder {
 public:
  // Answers what the dictionary answers.
  bool Add(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver);

 private:
  // The lowest free number below the sender's maps key.
  std::uint64_t FindFree(IDictionary& dictionary, const std::string& maps_path, std::uint64_t change_count);
  void Remember(const IDictionary& dictionary, const std::string& maps_path, std::uint64_t next,
                std::uint64_t change_count);

  RecursiveMutex mutex_;  // before the dictionary's; a listener of the dictionary may add mappings
  const IDictionary* dictionary_ = nullptr;
  std::uint64_t change_count_ = 0;
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
  std::vector<QueueEntry> receivers;  // ready for the queue, in the dictionary's order

  // After a failure: the child that could not be read, "" when they could not be listed, and its text if it has one.
  std::string unread_child;
  std::optional<std::string> unread_text;
};

// The dictionary path of a mapping, or with "" of all mappings of the sender's signal.
std::string MappingPath(const SignalName& sender, const std::string& child);

// Reads mappings, and keeps what it read as long as the dictionary does not change. One thread at a time.
class SignalMappings {
 public:
  // The answer is valid until the next call.
  const MappedSignal& Find(IDictionary& dictionary, const SignalName& sender);

  void Forget() noexcept {
    recent_.fill({});
    known_.clear();
  }

 private:
  struct Known {
    const IDictionary* dictionary = nullptr;
    std::uint64_t change_count = 0;
    MappedSignal mapped;

    bool IsCurrent(const IDictionary& now, std::uint64_t count) const noexcept {
      return dictionary == &now && change_count == count;
    }
  };
  // What was found for names at these addresses: whoever fires often passes the same texts every time.
  struct Recent {
    std::string_view key;
    const Known* known = nullptr;
  };
  static constexpr std::size_t kRecentSenders = 64;

  static std::size_t RecentSlot(const SignalName& sender) noexcept;
  static bool IsKeyOf(std::string_view key, const SignalName& sender) noexcept;
  const MappedSignal& FindByText(IDictionary& dictionary, std::uint64_t change_count, const SignalName& sender);

  std::unordered_map<std::string, Known, TextHash, std::equal_to<>> known_;
  std::array<Recent, kRecentSenders> recent_;
  std::string key_;  // of the signal being looked for; kept for its room
  MappedSignal failed_;
};

}  // namespace OrvWorkFlow
