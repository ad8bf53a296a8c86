// Signals that are no longer on their way, kept in the workflow's dictionary: those that failed, and those that were
// set aside because the process died with them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

// A signal on its way from a sender, which a start signal does not have, to a receiver.
struct SignalRecord {
  std::string sender_type;
  std::string sender_instance;
  std::string outgoing_signal;
  std::string receiver_type;
  std::string receiver_instance;
  std::string incoming_signal;
  std::string reason;
};

// "Type Instance signal" of the receiver.
std::string NameOf(const SignalRecord& signal);

// Where they are kept: below the path "Signal0", "Signal1"... in the order in which they came, with the names that the
// signal queue has and "Reason"; "More" is the number of those that were too many.
inline constexpr char kFailedSignals[] = "/Orvflow/Failed";
inline constexpr char kSetAsideSignals[] = "/Orvflow/SetAside";
inline constexpr std::size_t kMostSignalRecords = 1000;

struct SignalRecords {
  std::vector<SignalRecord> signals;
  std::size_t more = 0;

  std::size_t Count() const { return signals.size() + more; }
};
SignalRecords ReadSignalRecords(IDictionary& dictionary, const std::string& path);

// Adds to those that are there. False when the dictionary refuses.
bool AppendSignalRecords(IDictionary& dictionary, const std::string& path, const SignalRecords& records);

// Takes them from there to the end of the signal queue of a saved state. False when the dictionary refuses.
bool RequeueSignalRecords(IDictionary& state, const std::string& path);

}  // namespace OrvWorkFlow::Program
