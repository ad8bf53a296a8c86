// Signals that are no longer on their way, kept in the workflow's dictionary: those that failed, and those that were
// set aside because the process died with them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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
  std::string time = {};      // in UTC, "2026-11-22T14:12:03Z"; "" when it is not known
  std::uint32_t attempts = 1;
  std::uint32_t number = 0;  // of those that are kept, failed or set aside: it stays the same; 0 while it is not kept

  bool IsMapped() const { return !receiver_type.empty(); }
};

// Writes the six names below the path, as a saved signal queue has them. False when the dictionary refuses.
bool WriteSignalNames(IDictionary& dictionary, const std::string& entry, const SignalRecord& signal);

// "Type Instance signal" of the receiver, or of the sender when that is not known.
std::string NameOf(const SignalRecord& signal);

// Where they are kept: below the path "Signal0", "Signal1"... in the order in which they came, with the names that the
// signal queue has, "Reason", "Reached", "Time" and "Attempts"; "More" is the number of those that were too many. The
// numbers go through both lists.
inline constexpr char kFailedSignals[] = "/Orvflow/Failed";
inline constexpr char kSetAsideSignals[] = "/Orvflow/SetAside";
// Those that were taken back into the queue, until they have been delivered: how often they were tried before.
inline constexpr char kRetriedSignals[] = "/Orvflow/Retried";
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

// The same for signals that failed or were set aside just now. One that was taken back before has been tried once more.
bool AppendNewSignalRecords(IDictionary& dictionary, const std::string& path, SignalRecords records);

using ChooseSignal = std::function<bool(const SignalRecord&)>;

// Takes those that are chosen, all without `choose`, from there to the end of the signal queue of a saved state. An
// output signal goes to the receivers that the state's mappings have for it, from the first one that it did not reach;
// one that cannot be mapped stays, and so does the number of those that were too many. False when the dictionary
// refuses.
bool RequeueSignalRecords(IDictionary& state, const std::string& path, const ChooseSignal& choose = {});

// Removes those that are chosen; without `choose` all, with the number of those that were too many. False when the
// dictionary refuses.
bool DropSignalRecords(IDictionary& state, const std::string& path, const ChooseSignal& choose = {});

}  // namespace OrvWorkFlow::Host
