#include "orvflow/SignalRecords.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "orvflow/DictionaryReading.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kSignalPrefix[] = "Signal";
constexpr char kReason[] = "/Reason";
constexpr char kMore[] = "/More";

struct Field {
  const char* key;
  std::string SignalRecord::*text;
};
constexpr Field kFields[] = {
    {WorkflowSchema::kSenderTypeName, &SignalRecord::sender_type},
    {WorkflowSchema::kSenderInstanceName, &SignalRecord::sender_instance},
    {WorkflowSchema::kOutgoingSignalName, &SignalRecord::outgoing_signal},
    {WorkflowSchema::kReceiverTypeName, &SignalRecord::receiver_type},
    {WorkflowSchema::kReceiverInstanceName, &SignalRecord::receiver_instance},
    {WorkflowSchema::kIncomingSignalName, &SignalRecord::incoming_signal},
};

bool WriteFields(IDictionary& dictionary, const std::string& entry, const SignalRecord& signal) {
  return std::all_of(std::begin(kFields), std::end(kFields), [&](const Field& field) {
    return dictionary.SetValue((entry + field.key).c_str(), (signal.*field.text).c_str());
  });
}

// One more than the largest number that follows the prefix among the names.
long NextNumber(const std::vector<std::string>& names, std::string_view prefix) {
  long next = 0;
  for (const std::string& name : names) {
    if (name.starts_with(prefix)) next = std::max(next, std::atol(name.c_str() + prefix.size()) + 1);
  }
  return next;
}

}  // namespace

std::string NameOf(const SignalRecord& signal) {
  return signal.receiver_type + " " + signal.receiver_instance + " " + signal.incoming_signal;
}

SignalRecords ReadSignalRecords(IDictionary& dictionary, const std::string& path) {
  SignalRecords records;
  for (const std::string& name : NamesBelow(dictionary, path)) {
    if (!name.starts_with(kSignalPrefix)) continue;
    const std::string entry = path + "/" + name;
    SignalRecord signal;
    for (const Field& field : kFields) signal.*field.text = TextAt(dictionary, entry + field.key);
    signal.reason = TextAt(dictionary, entry + kReason);
    records.signals.push_back(std::move(signal));
  }
  std::int32_t more = 0;
  if (dictionary.GetValue((path + kMore).c_str(), &more)) records.more = static_cast<std::size_t>(std::max(0, more));
  return records;
}

bool AppendSignalRecords(IDictionary& dictionary, const std::string& path, const SignalRecords& records) {
  const std::vector<std::string> names = NamesBelow(dictionary, path);
  std::size_t count = names.size();
  long number = NextNumber(names, kSignalPrefix);
  std::size_t more = records.more;
  for (const SignalRecord& signal : records.signals) {
    if (count++ >= kMostSignalRecords) {
      ++more;
      continue;
    }
    const std::string entry = path + "/" + kSignalPrefix + std::to_string(number++);
    if (!WriteFields(dictionary, entry, signal)) return false;
    if (!dictionary.SetValue((entry + kReason).c_str(), signal.reason.c_str())) return false;
  }
  if (more == 0) return true;
  std::int32_t before = 0;
  dictionary.GetValue((path + kMore).c_str(), &before);
  const std::size_t sum = std::min<std::size_t>(static_cast<std::size_t>(std::max(0, before)) + more, INT32_MAX);
  return dictionary.SetValue((path + kMore).c_str(), static_cast<std::int32_t>(sum));
}

bool RequeueSignalRecords(IDictionary& state, const std::string& path) {
  const SignalRecords records = ReadSignalRecords(state, path);
  if (records.Count() == 0) return true;
  const std::string prefix = std::string(WorkflowSchema::kSignalQueue) + WorkflowSchema::kQueueEntryPrefix;
  long number = NextNumber(NamesBelow(state, WorkflowSchema::kSignalQueue), WorkflowSchema::kQueueEntryPrefix + 1);
  for (const SignalRecord& signal : records.signals) {
    if (!WriteFields(state, prefix + std::to_string(number++), signal)) return false;
  }
  return state.Delete(path.c_str());
}

}  // namespace OrvWorkFlow::Program
