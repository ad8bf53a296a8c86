#include "orvflow/bridge/BridgeList.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <string_view>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/state/SignalRecords.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kOut[] = "BridgeOut";
constexpr char kIn[] = "BridgeIn";
constexpr char kAsk[] = "BridgeAsk";
constexpr char kServe[] = "BridgeServe";
constexpr char kOpen[] = "Open";
constexpr char kNext[] = "Next";
constexpr char kOutbox[] = "Outbox";
constexpr char kDead[] = "Dead";
// The signal that fails as long as there are dead letters.
constexpr char kParked[] = "parked";
constexpr std::size_t kSignalAt = 5;  // in a letter: behind the version and the length

std::string FolderOf(const char* type, const std::string& instance) { return "/" + std::string(type) + "/" + instance; }

// Of a name such as "N12"; 0 for another one.
std::uint64_t NumberOf(std::string_view name) {
  std::uint64_t number = 0;
  if (name.size() < 2 || name.front() != 'N') return 0;
  const auto result = std::from_chars(name.data() + 1, name.data() + name.size(), number);
  return result.ec == std::errc() && result.ptr == name.data() + name.size() ? number : 0;
}

std::uint64_t CountAt(const Sdk::NodeRecord& record, std::string_view name, std::int64_t fallback = 0) {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(0, record.Number(name, fallback)));
}

std::string BytesAt(IDictionary& state, const std::string& path) {
  const Sdk::StreamHolder stream;
  if (!state.GetBinary(path.c_str(), stream.get())) return {};
  return {static_cast<const char*>(stream->GetData()), stream->GetSize()};
}

std::string SignalOf(const std::string& letter) {
  if (letter.size() < kSignalAt) return {};
  std::size_t size = 0;
  for (std::size_t i = 0; i < 4; ++i) size |= std::size_t{static_cast<unsigned char>(letter[1 + i])} << (8 * i);
  return size <= letter.size() - kSignalAt ? letter.substr(kSignalAt, size) : std::string();
}

std::vector<DeadLetter> ReadDead(IDictionary& state, const Sdk::NodeRecord& record) {
  std::vector<DeadLetter> dead;
  for (const std::string& name : Base::NamesBelow(state, record.PathOf(kDead))) {
    const std::uint64_t number = NumberOf(name);
    if (number == 0) continue;
    const std::string entry = std::string(kDead) + "/" + name;
    const std::string letter = BytesAt(state, record.PathOf(entry));
    dead.push_back({number, SignalOf(letter), letter.size(), record.Text(entry + "/Reason")});
  }
  std::sort(dead.begin(), dead.end(),
            [](const DeadLetter& one, const DeadLetter& other) { return one.number < other.number; });
  return dead;
}

std::vector<SharingReceiver> ReadReceivers(IDictionary& state, const Sdk::NodeRecord& record) {
  std::vector<SharingReceiver> receivers;
  for (const std::string& name : Base::NamesBelow(state, record.PathOf("Receivers"))) {
    const std::string folder = "Receivers/" + name;
    const std::uint64_t first = std::max<std::uint64_t>(1, CountAt(record, folder + "/First", 1));
    receivers.push_back({name, CountAt(record, folder + "/Epoch"), 0, first - 1});
  }
  for (const std::string& entry : Base::NamesBelow(state, record.PathOf("Dealt"))) {
    const std::string deal = record.Text("Dealt/" + entry);
    for (SharingReceiver& receiver : receivers) {
      if (deal.starts_with(receiver.name + " ")) ++receiver.dealt;
    }
  }
  return receivers;
}

// What waits in an outbox: the letters of the folder that are neither settled nor half written.
template <class Each>
void EachWaiting(IDictionary& state, const Sdk::NodeRecord& record, Each&& each) {
  const std::uint64_t first = std::max<std::uint64_t>(1, CountAt(record, "First", 1));
  const std::uint64_t next = std::max(first, CountAt(record, kNext, 1));
  for (const std::string& name : Base::NamesBelow(state, record.PathOf(kOutbox))) {
    const std::uint64_t number = NumberOf(name);
    if (number >= first && number < next) each(number, record.PathOf(std::string(kOutbox) + "/" + name));
  }
}

SendingBridge ReadSending(IDictionary& state, const char* type, const std::string& instance) {
  const Sdk::NodeRecord record(state, FolderOf(type, instance));
  SendingBridge bridge;
  bridge.type = type;
  bridge.instance = instance;
  bridge.id = record.Text("Id");
  bridge.receiver = record.Text("Receiver");
  bridge.epoch = CountAt(record, "Epoch");
  bridge.acknowledged = std::max<std::uint64_t>(1, CountAt(record, "First", 1)) - 1;
  EachWaiting(state, record, [&](std::uint64_t number, const std::string& path) {
    ++bridge.waiting;
    bridge.waiting_bytes += BytesAt(state, path).size();
    bridge.oldest = bridge.oldest == 0 ? number : std::min(bridge.oldest, number);
  });
  bridge.open = Base::NamesBelow(state, record.PathOf(kOpen)).size();
  bridge.halted = record.Text("Halted");
  bridge.connection = record.Text("Connection");
  bridge.receivers = ReadReceivers(state, record);
  bridge.dead = ReadDead(state, record);
  return bridge;
}

std::size_t CountAnswers(IDictionary& state, const Sdk::NodeRecord& record) {
  std::size_t count = 0;
  for (const std::string& name : Base::NamesBelow(state, record.PathOf("Askers"))) {
    const Sdk::NodeRecord asker(state, record.PathOf("Askers/" + name));
    EachWaiting(state, asker, [&](std::uint64_t, const std::string&) { ++count; });
  }
  return count;
}

ReceivingBridge ReadReceiving(IDictionary& state, const char* type, const std::string& instance) {
  const Sdk::NodeRecord record(state, FolderOf(type, instance));
  ReceivingBridge bridge;
  bridge.type = type;
  bridge.instance = instance;
  bridge.id = record.Text("Id");
  bridge.epoch = CountAt(record, "Epoch");
  bridge.told = CountAt(record, "Told");
  bridge.open = Base::NamesBelow(state, record.PathOf(kOpen));
  bridge.answers = CountAnswers(state, record);
  bridge.halted = record.Text("Halted");
  bridge.connection = record.Text("Connection");
  for (const std::string& name : Base::NamesBelow(state, record.PathOf("Senders"))) {
    if (!name.starts_with('S')) continue;
    const std::string folder = "Senders/" + name;
    bridge.senders.push_back({name.substr(1), CountAt(record, folder + "/Epoch"), CountAt(record, folder + "/Highest"),
                              Base::NamesBelow(state, record.PathOf(folder + "/Refused")).size()});
  }
  return bridge;
}

bool IsParkedOf(const SendingBridge& bridge, const Host::SignalRecord& signal) {
  return signal.receiver_type == kOut && signal.receiver_instance == bridge.instance &&
         signal.incoming_signal == kParked;
}

// One signal for the node in the queue: it is woken by it.
bool Wake(IDictionary& state, const SendingBridge& bridge) {
  const auto is_parked = [&](const Host::SignalRecord& signal) { return IsParkedOf(bridge, signal); };
  Host::SignalRecord signal;
  signal.receiver_type = kOut;
  signal.receiver_instance = bridge.instance;
  signal.incoming_signal = kParked;
  return Host::DropSignalRecords(state, Host::kFailedSignals, is_parked) &&
         Host::AppendSignalRecords(state, Host::kFailedSignals, {{signal}, 0}) &&
         Host::RequeueSignalRecords(state, Host::kFailedSignals, is_parked);
}

bool Retry(IDictionary& state, const SendingBridge& bridge, const DeadLetter& letter) {
  Sdk::NodeRecord record(state, FolderOf(kOut, bridge.instance));
  const std::string dead = record.PathOf(kDead) + "/N" + std::to_string(letter.number);
  const std::string bytes = BytesAt(state, dead);
  const std::uint64_t next = std::max(bridge.acknowledged + 1, CountAt(record, kNext, 1));
  const std::string entry = record.PathOf(kOutbox) + "/N" + std::to_string(next);
  if (!state.SetBinary(entry.c_str(), bytes.data(), bytes.size())) return false;
  record.SetNumber(kNext, static_cast<std::int64_t>(next + 1));
  return state.Delete(dead.c_str());
}

bool HasDead(IDictionary& state, const SendingBridge& bridge) {
  return !Base::NamesBelow(state, FolderOf(kOut, bridge.instance) + "/" + kDead).empty();
}

}  // namespace

std::size_t BridgeList::CountDead() const {
  std::size_t count = 0;
  for (const SendingBridge& bridge : sending) count += bridge.dead.size();
  return count;
}

BridgeList ReadBridgeList(IDictionary& state) {
  BridgeList list;
  for (const char* type : {kOut, kAsk}) {
    for (const std::string& instance : Base::NamesBelow(state, "/" + std::string(type))) {
      list.sending.push_back(ReadSending(state, type, instance));
    }
  }
  for (const char* type : {kIn, kServe}) {
    for (const std::string& instance : Base::NamesBelow(state, "/" + std::string(type))) {
      list.receiving.push_back(ReadReceiving(state, type, instance));
    }
  }
  return list;
}

bool RetryDead(IDictionary& state, const BridgeList& list, const ChooseLetter& choose) {
  for (const SendingBridge& bridge : list.sending) {
    bool is_any = false;
    for (const DeadLetter& letter : bridge.dead) {
      if (!choose(bridge, letter)) continue;
      if (!Retry(state, bridge, letter)) return false;
      is_any = true;
    }
    if (is_any && !Wake(state, bridge)) return false;
  }
  return true;
}

bool DropDead(IDictionary& state, const BridgeList& list, const ChooseLetter& choose) {
  for (const SendingBridge& bridge : list.sending) {
    const std::string dead = FolderOf(kOut, bridge.instance) + "/" + kDead;
    for (const DeadLetter& letter : bridge.dead) {
      if (choose(bridge, letter) && !state.Delete((dead + "/N" + std::to_string(letter.number)).c_str())) return false;
    }
    if (bridge.dead.empty() || HasDead(state, bridge)) continue;
    const auto is_parked = [&](const Host::SignalRecord& signal) { return IsParkedOf(bridge, signal); };
    if (!Host::DropSignalRecords(state, Host::kFailedSignals, is_parked)) return false;
  }
  return true;
}

}  // namespace OrvWorkFlow::Program
