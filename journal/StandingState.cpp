#include "journal/StandingState.h"

#include <algorithm>
#include <chrono>
#include <new>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/HostError.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/run/DeliveryWatch.h"
#include "host/state/DeliveryKeys.h"
#include "host/state/SignalRecords.h"
#include "journal/ChangeReplay.h"
#include "journal/RecordReader.h"

namespace OrvWorkFlow::Journal {

namespace {

void Set(IDictionary& dictionary, const std::string& path, const std::string& text) {
  if (!dictionary.SetValue(path.c_str(), text.c_str())) throw std::bad_alloc();
}

void Remove(IDictionary& dictionary, const char* path) {
  if (!dictionary.Delete(path) && dictionary.Exists(path)) throw std::bad_alloc();
}

void WriteQueue(const std::vector<Route>& queue, IDictionary& dictionary) {
  Remove(dictionary, WorkflowSchema::kSignalQueue);
  const std::string prefix = std::string(WorkflowSchema::kSignalQueue) + WorkflowSchema::kQueueEntryPrefix;
  for (std::size_t i = 0; i < queue.size(); ++i) {
    const Route& signal = queue[i];
    Host::SignalRecord names;
    names.sender_type = signal.sender_type;
    names.sender_instance = signal.sender_instance;
    names.outgoing_signal = signal.sender_signal;
    names.receiver_type = signal.receiver_type;
    names.receiver_instance = signal.receiver_instance;
    names.incoming_signal = signal.receiver_signal;
    if (!Host::WriteSignalNames(dictionary, prefix + std::to_string(i), names)) throw std::bad_alloc();
  }
}

// A delivery that is begun once more is the same one, in whatever run it was begun first.
void WriteRepeated(const RunStanding& standing, IDictionary& dictionary) {
  const Host::KeptDeliveries before = Host::ReadDiedDeliveries(dictionary);
  Host::KeptDeliveries after;
  std::uint64_t place = 0;
  for (const auto& [number, route] : standing.NumberedQueue()) {
    ++place;
    const auto known = before.deliveries.find(number);
    const bool was_begun = standing.begun().contains(number);
    if (known == before.deliveries.end() && !was_begun) continue;
    Host::DiedDelivery died = {standing.name(), number, 1};
    if (known != before.deliveries.end()) died = known->second;
    if (was_begun) ++died.attempt;
    after.deliveries.emplace(place, std::move(died));
  }
  if (!Host::WriteDiedDeliveries(dictionary, after)) throw std::bad_alloc();
}

Route RebootSignalAt(IDictionary& dictionary, const std::string& entry) {
  return {{},
          {},
          {},
          Base::TextAt(dictionary, entry + WorkflowSchema::kRebootTypeName),
          Base::TextAt(dictionary, entry + WorkflowSchema::kRebootInstanceName),
          Base::TextAt(dictionary, entry + WorkflowSchema::kRebootSignal)};
}

bool HasSameReceiver(const Route& one, const Route& other) {
  return one.receiver_type == other.receiver_type && one.receiver_instance == other.receiver_instance &&
         one.receiver_signal == other.receiver_signal;
}

// Those that the run began with and has not fired, then those that it left.
void WriteRebootSignals(const RunStanding& standing, IDictionary& dictionary) {
  const std::string parent = std::string(WorkflowSchema::kRebootSignals);
  std::vector<Route> fired = standing.fired_reboot_signals();
  std::vector<Route> signals;
  for (const std::string& name : Base::NamesBelow(dictionary, parent)) {
    const Route signal = RebootSignalAt(dictionary, parent + "/" + name);
    const auto known =
        std::find_if(fired.begin(), fired.end(), [&](const Route& other) { return HasSameReceiver(signal, other); });
    if (known == fired.end()) {
      signals.push_back(signal);
    } else {
      fired.erase(known);
    }
  }
  for (Route& signal : standing.MakeRebootSignals()) signals.push_back(std::move(signal));
  Remove(dictionary, WorkflowSchema::kRebootSignals);
  for (std::size_t i = 0; i < signals.size(); ++i) {
    const std::string entry = parent + "/RebootSignal" + std::to_string(i);
    Set(dictionary, entry + WorkflowSchema::kRebootSignal, signals[i].receiver_signal);
    Set(dictionary, entry + WorkflowSchema::kRebootTypeName, signals[i].receiver_type);
    Set(dictionary, entry + WorkflowSchema::kRebootInstanceName, signals[i].receiver_instance);
  }
}

// The engine queues the start signal once.
void WriteStartSignal(const RunStanding& standing, IDictionary& dictionary) {
  const std::string start = WorkflowSchema::kStartSignal;
  const Route signal{{},
                     {},
                     {},
                     Base::TextAt(dictionary, start + WorkflowSchema::kReceiverTypeName),
                     Base::TextAt(dictionary, start + WorkflowSchema::kReceiverInstanceName),
                     Base::TextAt(dictionary, start + WorkflowSchema::kIncomingSignalName)};
  const std::vector<Route>& started = standing.started();
  const bool is_started =
      !signal.receiver_type.empty() &&
      std::any_of(started.begin(), started.end(), [&](const Route& other) { return HasSameReceiver(signal, other); });
  if (is_started) Set(dictionary, start + WorkflowSchema::kReceiverTypeName, "");
}

void WriteAbsorbed(const RunStanding& standing, IDictionary& dictionary) {
  const std::string parent = WorkflowSchema::kWorkFlows;
  std::vector<std::string> names = Base::NamesBelow(dictionary, parent);
  std::vector<std::string> known;
  for (const std::string& name : names) {
    known.push_back(Base::TextAt(dictionary, parent + "/" + name + WorkflowSchema::kWorkFlowRecordName));
  }
  std::size_t number = names.size();
  for (const RunStanding::Absorbed& flow : standing.absorbed()) {
    if (std::find(known.begin(), known.end(), flow.name) != known.end()) continue;
    known.push_back(flow.name);
    const std::string entry = parent + WorkflowSchema::kWorkFlowPrefix + std::to_string(number++);
    Set(dictionary, entry + WorkflowSchema::kWorkFlowRecordName, flow.name);
    Set(dictionary, entry + WorkflowSchema::kWorkFlowRecordFilePath, flow.path);
  }
}

void WriteFailed(const RunStanding& standing, IDictionary& dictionary) {
  Host::Bell bell;
  Host::DeliveryWatch watch(bell);
  standing.TellFailures(watch, [&](std::uint64_t nanoseconds) {
    const std::chrono::nanoseconds since(nanoseconds);
    watch.SetTime(
        std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(since)));
  });
  Host::SignalRecords failed;
  watch.MoveFailedTo(failed);
  if (!Host::AppendNewSignalRecords(dictionary, Host::kFailedSignals, failed)) throw std::bad_alloc();
}

}  // namespace

// What does not count may be what a later change needs: then that has no place either.
void MakeDictionaryOf(const RunStanding& standing, const std::string& path, IDictionary& dictionary,
                      std::uint64_t entries) {
  RecordReader reader(path);
  Event event;
  unsigned run = 0;
  bool was_left_out = false;
  for (; entries > 0 && reader.Next(&event); --entries) {
    if (event.kind == Kind::RunBegun) ++run;
    if (run < standing.run() || (event.kind != Kind::Change && event.kind != Kind::Snapshot)) continue;
    if (!standing.Counts(event.unit)) {
      was_left_out = true;
    } else if (!ApplyChange(dictionary, event) && !was_left_out) {
      throw Host::HostError(Host::HostError::Kind::Damaged, path, event.path,
                            "the record of a change there does not fit what was before");
    }
  }
}

void WriteStanding(const RunStanding& standing, IDictionary& dictionary) {
  WriteStartSignal(standing, dictionary);
  WriteQueue(standing.MakeQueue(), dictionary);
  WriteRepeated(standing, dictionary);
  WriteRebootSignals(standing, dictionary);
  WriteAbsorbed(standing, dictionary);
  WriteFailed(standing, dictionary);
}

bool IsOfLibrary(std::string_view object_name) {
  constexpr std::string_view kNames[] = {
      ObjectNames::kDictionary,     ObjectNames::kEncryption,   ObjectNames::kFileSystem,
      ObjectNames::kRegExp,         ObjectNames::kUtilityStore, ObjectNames::kWorkFlowEngine,
      ObjectNames::kSignalMediator, ObjectNames::kLogger,       ObjectNames::kHostApp};
  return std::find(std::begin(kNames), std::end(kNames), object_name) != std::end(kNames);
}

}  // namespace OrvWorkFlow::Journal
