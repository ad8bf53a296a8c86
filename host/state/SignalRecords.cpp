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
constexpr char kTime[] = "/Time";
constexpr char kAttempts[] = "/Attempts";
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

bool WriteNumber(IDictionary& dictionary, const std::string& path, std::uint32_t number) {
  return dictionary.SetValue(path.c_str(), static_cast<std::int32_t>(std::min<std::uint32_t>(number, INT32_MAX)));
}

bool WriteRecord(IDictionary& dictionary, const std::string& entry, const SignalRecord& signal) {
  return WriteSignalNames(dictionary, entry, signal) &&
         dictionary.SetValue((entry + kReason).c_str(), signal.reason.c_str()) &&
         (signal.time.empty() || dictionary.SetValue((entry + kTime).c_str(), signal.time.c_str())) &&
         (signal.attempts <= 1 || WriteNumber(dictionary, entry + kAttempts, signal.attempts)) &&
         (signal.reached == 0 || WriteNumber(dictionary, entry + kReached, signal.reached));
}

// One more than the largest number that follows the prefix among the names.
long NextNumber(const std::vector<std::string>& names, std::string_view prefix) {
  long next = 0;
  for (const std::string& name : names) {
    if (name.starts_with(prefix)) next = std::max(next, std::atol(name.c_str() + prefix.size()) + 1);
  }
  return next;
}

// Of a list of kept signals.
long NextNumberOf(IDictionary& dictionary, const std::string& path) {
  if (path == kRetriedSignals) return NextNumber(Base::NamesBelow(dictionary, path), kSignalPrefix);
  return std::max(NextNumber(Base::NamesBelow(dictionary, kFailedSignals), kSignalPrefix),
                  NextNumber(Base::NamesBelow(dictionary, kSetAsideSignals), kSignalPrefix));
}

bool IsSameWay(const SignalRecord& one, const SignalRecord& other) {
  return std::all_of(std::begin(kFields), std::end(kFields),
                     [&](const Field& field) { return one.*field.text == other.*field.text; });
}

std::string EntryOf(const std::string& path, const SignalRecord& signal) {
  return path + "/" + kSignalPrefix + std::to_string(signal.number - 1);
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

// Adds the signal to `queue` once for each receiver, as the engine maps it. False, with those that it has reached, at
// the first mapping that cannot be understood.
bool MapSignal(IDictionary& state, SignalRecord& signal, std::vector<SignalRecord>& queue) {
  const std::string maps = std::string(WorkflowSchema::kWorkNodes) + "/" + signal.sender_type +
                           WorkflowSchema::kInstances + "/" + signal.sender_instance + WorkflowSchema::kMaps + "/" +
                           signal.outgoing_signal;
  const std::vector<std::string> names = Base::NamesBelow(state, maps);
  for (; signal.reached < names.size(); ++signal.reached) {
    SignalRecord mapped = signal;
    if (!TakeReceiver(Base::TextAt(state, maps + "/" + names[signal.reached]), mapped)) return false;
    queue.push_back(std::move(mapped));
  }
  return true;
}

bool RemoveIfEmpty(IDictionary& dictionary, const std::string& path) {
  return !dictionary.Exists(path.c_str()) || !Base::NamesBelow(dictionary, path).empty() ||
         dictionary.Delete(path.c_str());
}

bool AppendToQueue(IDictionary& state, const std::vector<SignalRecord>& queue) {
  const std::string prefix = std::string(WorkflowSchema::kSignalQueue) + WorkflowSchema::kQueueEntryPrefix;
  long number =
      NextNumber(Base::NamesBelow(state, WorkflowSchema::kSignalQueue), WorkflowSchema::kQueueEntryPrefix + 1);
  return std::all_of(queue.begin(), queue.end(), [&](const SignalRecord& signal) {
    return WriteSignalNames(state, prefix + std::to_string(number++), signal);
  });
}

}  // namespace

bool WriteSignalNames(IDictionary& dictionary, const std::string& entry, const SignalRecord& signal) {
  return std::all_of(std::begin(kFields), std::end(kFields), [&](const Field& field) {
    return dictionary.SetValue((entry + field.key).c_str(), (signal.*field.text).c_str());
  });
}

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
    signal.time = Base::TextAt(dictionary, entry + kTime);
    signal.attempts = std::max(1U, static_cast<std::uint32_t>(CountAt(dictionary, entry + kAttempts)));
    signal.number = static_cast<std::uint32_t>(std::atol(name.c_str() + sizeof(kSignalPrefix) - 1)) + 1;
    signal.reached = static_cast<std::uint32_t>(CountAt(dictionary, entry + kReached));
    records.signals.push_back(std::move(signal));
  }
  records.more = CountAt(dictionary, path + kMore);
  return records;
}

bool AppendSignalRecords(IDictionary& dictionary, const std::string& path, const SignalRecords& records) {
  if (records.Count() == 0) return true;
  std::size_t count = Base::NamesBelow(dictionary, path).size();
  std::size_t more = records.more;
  Appended appended(dictionary, path + "/" + kSignalPrefix, NextNumberOf(dictionary, path));
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

bool AppendNewSignalRecords(IDictionary& dictionary, const std::string& path, SignalRecords records) {
  if (records.Count() == 0) return true;
  std::vector<SignalRecord> retried = ReadSignalRecords(dictionary, kRetriedSignals).signals;
  std::vector<std::string> done;
  for (SignalRecord& signal : records.signals) {
    const auto earlier = std::find_if(retried.begin(), retried.end(),
                                      [&](const SignalRecord& other) { return IsSameWay(signal, other); });
    if (earlier == retried.end()) continue;
    signal.attempts += earlier->attempts;
    done.push_back(EntryOf(kRetriedSignals, *earlier));
    retried.erase(earlier);
  }
  if (!AppendSignalRecords(dictionary, path, records)) return false;
  for (const std::string& entry : done) dictionary.Delete(entry.c_str());
  return true;
}

bool RequeueSignalRecords(IDictionary& state, const std::string& path, const ChooseSignal& choose) {
  std::vector<SignalRecord> queue;
  for (SignalRecord& signal : ReadSignalRecords(state, path).signals) {
    if (choose && !choose(signal)) continue;
    const std::string entry = EntryOf(path, signal);
    if (!signal.IsMapped() && !MapSignal(state, signal, queue)) {
      if (signal.reached > 0 && !WriteNumber(state, entry + kReached, signal.reached)) return false;
      continue;
    }
    if (!state.Delete(entry.c_str())) return false;
    if (signal.IsMapped()) queue.push_back(std::move(signal));
  }
  if (!RemoveIfEmpty(state, path) || !AppendToQueue(state, queue)) return false;
  for (SignalRecord& signal : queue) signal.reason.clear();
  return AppendSignalRecords(state, kRetriedSignals, {std::move(queue), 0});
}

bool DropSignalRecords(IDictionary& state, const std::string& path, const ChooseSignal& choose) {
  if (!choose) return !state.Exists(path.c_str()) || state.Delete(path.c_str());
  const std::vector<SignalRecord> signals = ReadSignalRecords(state, path).signals;
  const bool is_done = std::all_of(signals.begin(), signals.end(), [&](const SignalRecord& signal) {
    return !choose(signal) || state.Delete(EntryOf(path, signal).c_str());
  });
  return is_done && RemoveIfEmpty(state, path);
}

}  // namespace OrvWorkFlow::Host
