#include "host/state/SignalRecords.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr char kSignalPrefix[] = "Signal";
constexpr char kReason[] = "/Reason";
constexpr char kReached[] = "/Reached";
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

bool WriteRecord(IDictionary& dictionary, const std::string& entry, const SignalRecord& signal) {
  return WriteFields(dictionary, entry, signal) &&
         dictionary.SetValue((entry + kReason).c_str(), signal.reason.c_str()) &&
         (signal.reached == 0 ||
          dictionary.SetValue((entry + kReached).c_str(), static_cast<std::int32_t>(signal.reached)));
}

// One more than the largest number that follows the prefix among the names.
long NextNumber(const std::vector<std::string>& names, std::string_view prefix) {
  long next = 0;
  for (const std::string& name : names) {
    if (name.starts_with(prefix)) next = std::max(next, std::atol(name.c_str() + prefix.size()) + 1);
  }
  return next;
}

// A number that is there; 0 for none.
std::size_t CountAt(IDictionary& dictionary, const std::string& path) {
  std::int32_t number = 0;
  const bool is_read = dictionary.GetValue(path.c_str(), &number);
  if (!is_read && dictionary.Exists(path.c_str())) throw std::bad_alloc();
  return static_cast<std::size_t>(std::max(0, number));
}

bool WriteCount(IDictionary& dictionary, const std::string& path, std::size_t count) {
  return dictionary.SetValue(path.c_str(), static_cast<std::int32_t>(std::min<std::size_t>(count, INT32_MAX)));
}

// Takes back what was appended, if the append does not come to its end.
class Appended {
 public:
  Appended(IDictionary& dictionary, std::string prefix, long first)
      : dictionary_(dictionary), prefix_(std::move(prefix)), first_(first), next_(first) {}
  Appended(const Appended&) = delete;
  Appended& operator=(const Appended&) = delete;
  ~Appended() {
    try {
      while (next_ > first_) dictionary_.Delete((prefix_ + std::to_string(--next_)).c_str());
    } catch (...) {  // A signal too much: it is delivered twice.
    }
  }

  std::string Next() { return prefix_ + std::to_string(next_++); }
  void Keep() { first_ = next_; }

 private:
  IDictionary& dictionary_;
  const std::string prefix_;
  long first_;
  long next_;
};

// False when the text is not of the form "type,instance,signal".
bool TakeReceiver(const std::string& mapping, SignalRecord& signal) {
  const std::size_t first = mapping.find(',');
  const std::size_t second = first == std::string::npos ? first : mapping.find(',', first + 1);
  if (second == std::string::npos || mapping.find(',', second + 1) != std::string::npos) return false;
  signal.receiver_type = mapping.substr(0, first);
  signal.receiver_instance = mapping.substr(first + 1, second - first - 1);
  signal.incoming_signal = mapping.substr(second + 1);
  return true;
}

// Adds the signal to `queue` once for each receiver, as the engine maps it. What is left of it, from the first mapping
// that cannot be understood, is added to `unmapped`.
void MapSignal(IDictionary& state, SignalRecord signal, std::vector<SignalRecord>& queue,
               std::vector<SignalRecord>& unmapped) {
  const std::string maps = std::string(WorkflowSchema::kWorkNodes) + "/" + signal.sender_type +
                           WorkflowSchema::kInstances + "/" + signal.sender_instance + WorkflowSchema::kMaps + "/" +
                           signal.outgoing_signal;
  const std::vector<std::string> names = Base::NamesBelow(state, maps);
  for (; signal.reached < names.size(); ++signal.reached) {
    SignalRecord mapped = signal;
    if (!TakeReceiver(Base::TextAt(state, maps + "/" + names[signal.reached]), mapped)) {
      unmapped.push_back(std::move(signal));
      return;
    }
    queue.push_back(std::move(mapped));
  }
}

}  // namespace

std::string NameOf(const SignalRecord& signal) {
  if (!signal.IsMapped()) return signal.sender_type + " " + signal.sender_instance + " " + signal.outgoing_signal;
  return signal.receiver_type + " " + signal.receiver_instance + " " + signal.incoming_signal;
}

SignalRecords ReadSignalRecords(IDictionary& dictionary, const std::string& path) {
  SignalRecords records;
  for (const std::string& name : Base::NamesBelow(dictionary, path)) {
    if (!name.starts_with(kSignalPrefix)) continue;
    const std::string entry = path + "/" + name;
    SignalRecord signal;
    for (const Field& field : kFields) signal.*field.text = Base::TextAt(dictionary, entry + field.key);
    signal.reason = Base::TextAt(dictionary, entry + kReason);
    signal.reached = static_cast<std::uint32_t>(CountAt(dictionary, entry + kReached));
    records.signals.push_back(std::move(signal));
  }
  records.more = CountAt(dictionary, path + kMore);
  return records;
}

bool AppendSignalRecords(IDictionary& dictionary, const std::string& path, const SignalRecords& records) {
  if (records.Count() == 0) return true;
  const std::vector<std::string> names = Base::NamesBelow(dictionary, path);
  std::size_t count = names.size();
  std::size_t more = records.more;
  Appended appended(dictionary, path + "/" + kSignalPrefix, NextNumber(names, kSignalPrefix));
  for (const SignalRecord& signal : records.signals) {
    if (count++ >= kMostSignalRecords) {
      ++more;
    } else if (!WriteRecord(dictionary, appended.Next(), signal)) {
      return false;
    }
  }
  if (more > 0 && !WriteCount(dictionary, path + kMore, CountAt(dictionary, path + kMore) + more)) return false;
  appended.Keep();
  return true;
}

bool RequeueSignalRecords(IDictionary& state, const std::string& path) {
  SignalRecords records = ReadSignalRecords(state, path);
  if (records.Count() == 0) return true;
  std::vector<SignalRecord> queue;
  SignalRecords rest;
  for (SignalRecord& signal : records.signals) {
    if (signal.IsMapped()) {
      queue.push_back(std::move(signal));
    } else {
      MapSignal(state, std::move(signal), queue, rest.signals);
    }
  }
  rest.more = records.more;
  const std::string prefix = std::string(WorkflowSchema::kSignalQueue) + WorkflowSchema::kQueueEntryPrefix;
  long number =
      NextNumber(Base::NamesBelow(state, WorkflowSchema::kSignalQueue), WorkflowSchema::kQueueEntryPrefix + 1);
  for (const SignalRecord& signal : queue) {
    if (!WriteFields(state, prefix + std::to_string(number++), signal)) return false;
  }
  return state.Delete(path.c_str()) && AppendSignalRecords(state, path, rest);
}

}  // namespace OrvWorkFlow::Host
