// Which input signals an output signal leads to. The mappings live in the dictionary below their sender.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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

// At the lowest free number. Answers what the dictionary answers.
bool AddMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver);
// The first that is equal; false when none is.
bool RemoveMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver);
void RemoveAllMappings(IDictionary& dictionary);

// What an output signal leads to.
struct MappedSignal {
  enum class Outcome {
    Mapped,     // to the receivers, possibly none
    NoMapsKey,  // the sender has no mappings, not even an empty key for them
    Failed,     // behind the receivers stands something that cannot be read or is not three parts
  };
  Outcome outcome = Outcome::Failed;
  std::vector<QueueEntry> receivers;  // ready for the queue, in the dictionary's order
};

// Reads mappings, and keeps what it read as long as the dictionary does not change. One thread at a time.
class SignalMappings {
 public:
  // The answer is valid until the next call.
  const MappedSignal& Find(IDictionary& dictionary, const SignalName& sender);

  void Forget() noexcept { known_.clear(); }

 private:
  struct Known {
    const IDictionary* dictionary = nullptr;
    std::uint64_t change_count = 0;
    MappedSignal mapped;
  };
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
  };

  std::unordered_map<std::string, Known, Hash, std::equal_to<>> known_;
  std::string key_;  // of the signal being looked for; kept for its room
  MappedSignal failed_;
};

}  // namespace OrvWorkFlow
