// Signals that are no longer on their way, kept in the workflow's dictionary: those that failed, and those that were
// set aside because the process died with them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Host {

// A signal on its way from a sender, which a start signal does not have, to a receiver; or an output signal that was
// lost before its receivers were known: then the receiver's texts are "".
struct SignalRecord {
  std::string sender_type;
  std::string sender_instance;
  std::string outgoing_signal;
  std::string receiver_type;
  std::string receiver_instance;
  std::string incoming_signal;
  std::string reason;
  std::uint32_t reached = 0;  // of an output signal: its first mappings, which it did reach

  bool IsMapped() const { return !receiver_type.empty(); }
};

// "Type Instance signal" of the receiver, or of the sender when that is not known.
std::string NameOf(const SignalRecord& signal);

// Where they are kept: below the path "Signal0", "Signal1"... in the order in which they came, with the names that the
// signal queue has, "Reason" and "Reached"; "More" is the number of those that were too many.
inline constexpr char kFailedSignals[] = "/Orvflow/Failed";
inline constexpr char kSetAsideSignals[] = "/Orvflow/SetAside";
inline constexpr std::size_t kMostSignalRecords = 1000;

struct SignalRecords {
  std::vector<SignalRecord> signals;
  std::size_t more = 0;

  std::size_t Count() const { return signals.size() + more; }
};
// What is there and cannot be read throws std::bad_alloc.
SignalRecords ReadSignalRecords(IDictionary& dictionary, const std::string& path);

// Adds to those that are there. False, without anything added, when the dictionary refuses.
bool AppendSignalRecords(IDictionary& dictionary, const std::string& path, const SignalRecords& records);

// Takes them from there to the end of the signal queue of a saved state. An output signal goes to the receivers that
// the state's mappings have for it, from the first one that it did not reach; one that cannot be mapped stays, and so
// does the number of those that were too many. False when the dictionary refuses.
bool RequeueSignalRecords(IDictionary& state, const std::string& path);

}  // namespace OrvWorkFlow::Host
