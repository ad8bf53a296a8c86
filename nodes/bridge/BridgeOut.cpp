#include "nodes/bridge/BridgeOut.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <stdexcept>
#include <thread>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeSettings.h"

namespace OrvWorkFlow::Nodes {

using Bridge::AddressOf;
using Bridge::Sender;
using Bridge::Transport;

namespace {

constexpr NodeInput kInputs[] = {
    {"send", "the signal and its values are put into the outbox, and from there sent to the other end"},
    {"rebind",
     "another receiver may take over, and a bridge that was halted goes on: what was sent and not acknowledged "
     "may then be delivered to both"},
    {"parked",
     "comes from the node itself when dead is not mapped: fails while there are dead letters, so that the state is "
     "kept "
     "with them"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"full", false, "the outbox has reached its limit: what comes before drained is refused"},
    {"drained", false, "it has room again: half of it"},
    {"dead", false, "the other end has refused a signal: DeadNumber and DeadReason say which and why"},
    {"halted", false, "nothing is sent any more: Halted says why"},
};
constexpr NodeParameter kParameters[] = {
    Bridge::kBridgeRow,
    TextParameterRow("Signal", "signal", "the name that the signal has at the other end"),
    TextListParameterRow("Values", "paths of the workflow's dictionary whose values go with the signal"),
    NumberParameterRow("MostEntries", "10000", 1, "the limit of the outbox in signals", 1000000),
    NumberParameterRow("MostBytes", "16777216", 1, "and in bytes"),
    Bridge::kTransportRow,
    Bridge::kHostRow,
    Bridge::kPortRow,
    Bridge::kSecretsRow,
    Bridge::kFolderRow,
    Bridge::kFaultsRow,
};

constexpr char kEpoch[] = "Epoch";
constexpr char kReceiver[] = "Receiver";
constexpr char kSent[] = "Sent";
constexpr char kHalted[] = "Halted";
constexpr char kConnection[] = "Connection";
constexpr char kFullAt[] = "FullAt";
constexpr char kDrainedAt[] = "DrainedAt";
constexpr char kDead[] = "Dead";
constexpr char kDeadNumber[] = "DeadNumber";
constexpr char kDeadReason[] = "DeadReason";
constexpr char kDeadTold[] = "DeadTold";
constexpr char kParked[] = "parked";
constexpr std::size_t kMostUnderWay = 2 * Bridge::kMostLetter;
constexpr std::uint64_t kMostAtOnce = 64;
constexpr std::chrono::milliseconds kIdleWait{10};
// So that a connection is not made for each signal.
constexpr std::int64_t kLinger = 300;

}  // namespace

constinit const NodeDescription BridgeOut::kDescription = {
    .sentence = "Sends signals with values to another workflow, each of them exactly once",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool BridgeOut::OnSignal(std::string_view signal) {
  Sdk::NodeRecord record = Record();
  outbox_.Load(record);
  outbox_.NoteDelivery();
  if (signal == "send") {
    Send();
  } else if (signal == "rebind") {
    record.Remove(kHalted);
    rebinds_ = true;
  }
  StartWork();
  if (signal == kParked) TellParked();
  return true;
}

// The signal fails, and is kept with the state.
void BridgeOut::TellParked() {
  Sdk::NodeRecord record = Record();
  record.SetNumber(kDeadTold, record.Number(kDeadNumber));
  const std::size_t count = Base::NamesBelow(WorkflowDictionary(), record.PathOf(kDead)).size();
  if (count == 0) return;
  throw std::runtime_error("the other end has refused " + Base::Counted(count, "signal") + ", the last one because " +
                           record.Text(kDeadReason) + "; orvflow bridge lists, retries and drops them");
}

// Once for what was refused since the last time. A workflow that takes dead sees to the letters itself.
void BridgeOut::AskForParked() {
  const Sdk::NodeRecord record = Record();
  const std::int64_t last = record.Number(kDeadNumber);
  if (last <= std::max(asked_, record.Number(kDeadTold))) return;
  const std::string maps = std::string(WorkflowSchema::kWorkNodes) + "/" + TypeName() + WorkflowSchema::kInstances +
                           "/" + InstanceName() + WorkflowSchema::kMaps + "/dead";
  std::size_t mapped = 0;
  if (WorkflowDictionary().CountEntries(maps.c_str(), &mapped) && mapped > 0) return;
  auto* const engine = Sdk::FindGlobal<IWorkFlowEngine>(ObjectNames::kWorkFlowEngine, InterfaceNames::kWorkFlowEngine);
  if (engine == nullptr) return;
  if (!engine->QueueInputSignal(TypeName().c_str(), InstanceName().c_str(), kParked)) throw std::bad_alloc();
  asked_ = last;
}

void BridgeOut::Send() {
  DropValues();
  Sdk::NodeRecord record = Record();
  if (const std::string halted = record.Text(kHalted); !halted.empty()) throw std::runtime_error(halted);
  AddressOf(TextParameter("Bridge"));
  Bridge::Letter letter;
  letter.signal = TextParameter("Signal");
  const std::vector<std::string> paths = TextListParameter("Values");
  for (const std::string& path : paths) letter.values.push_back(Bridge::ReadValue(WorkflowDictionary(), path));
  const std::string bytes = Bridge::EncodeLetter(letter);
  if (const std::string full = IsFullNow(bytes.size()); !full.empty() && outbox_.Count() > 0) {
    throw std::runtime_error("the outbox is full, " + full + ": send again when drained has come");
  }
  outbox_.Add(record, bytes);
  if (IsFullNow(1).empty()) return;
  record.SetNumber(kFullAt, static_cast<std::int64_t>(outbox_.Next() - 1));
  FireOutput("full");
}

// Whether so many bytes more do not fit, and how full it is.
std::string BridgeOut::IsFullNow(std::size_t added) const {
  const std::size_t count = outbox_.Count();
  const std::size_t bytes = outbox_.Bytes();
  if (count < static_cast<std::size_t>(NumberParameter("MostEntries")) &&
      bytes + added <= static_cast<std::size_t>(NumberParameter("MostBytes"))) {
    return {};
  }
  return std::to_string(count) + " signals, " + std::to_string(bytes) + " bytes";
}

void BridgeOut::StartWork() {
  {
    const std::lock_guard lock(work_mutex_);
    if (works_) return;
    works_ = true;
  }
  // A thread that has seen to all before is about to end.
  while (!Continue()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// False when there is something to send again.
bool BridgeOut::EndWork() {
  const std::lock_guard lock(work_mutex_);
  if (outbox_.Count() > 0) return false;
  works_ = false;
  return true;
}

Sdk::WorkerNode::Outcome BridgeOut::Work() {
  // The last thing: a signal that comes after it starts another thread.
  struct Ended {
    BridgeOut& node;
    ~Ended() {
      const std::lock_guard lock(node.work_mutex_);
      node.works_ = false;
    }
  };
  std::string told;
  while (!StopWanted()) {
    try {
      if (!Record().Text(kHalted).empty() && !WaitHalted()) break;
      if (outbox_.Count() == 0 && !rebinds_) {
        AskForParked();
        if (EndWork()) return Outcome::Done;
      }
      Sdk::NodeRecord record = Record();
      const Bridge::Id id = Bridge::IdOf(record);
      const Bridge::ParameterReader reader{[this](const char* name) { return TextParameter(name); },
                                           [this](const char* name) { return NumberParameter(name); },
                                           [this](const char* name) { return TextListParameter(name); }};
      const auto transport = Bridge::OpenTransport(reader, id, AddressOf(TextParameter("Bridge"), id));
      const Outcome outcome = Talk(*transport);
      if (outcome == Outcome::Done) return outcome;
    } catch (const std::exception& error) {
      // What is in the outbox stays there, so the run does not come to its end before this is mended.
      if (told != error.what()) TellUser(error.what());
      told = error.what();
      NoteConnection(told);
      DropValues();
      if (!Pause(std::chrono::seconds(2))) break;
    }
  }
  const Ended ended{*this};
  return Outcome::Stopped;
}

// True when it is not halted any more.
bool BridgeOut::WaitHalted() {
  TellUser(Record().Text(kHalted));
  while (Pause(kIdleWait)) {
    if (rebinds_) return true;
  }
  return false;
}

void BridgeOut::NoteConnection(const std::string& problem) {
  Sdk::NodeRecord record = Record();
  if (record.Text(kConnection) == problem) return;
  if (problem.empty()) {
    record.Remove(kConnection);
  } else {
    record.SetText(kConnection, problem);
  }
}

// Each time with a higher epoch, which is recorded before anything is sent.
Sender BridgeOut::MakeSender() {
  Sdk::NodeRecord record = Record();
  if (rebinds_.exchange(false)) record.Remove(kReceiver);
  Sender::Standing standing;
  standing.id = Bridge::IdOf(record);
  standing.holder.epoch = static_cast<std::uint64_t>(record.Number(kEpoch)) + 1;
  standing.holder.mark = Bridge::Id::Random().high % Bridge::kMostNumber;
  record.SetNumber(kEpoch, static_cast<std::int64_t>(standing.holder.epoch));
  standing.receiver = Bridge::Id::FromText(record.Text(kReceiver));
  standing.first = static_cast<std::uint64_t>(record.Number("First", 1));
  standing.sent = static_cast<std::uint64_t>(record.Number(kSent));
  return Sender(standing);
}

Sdk::WorkerNode::Outcome BridgeOut::Talk(Transport& transport) {
  Sender sender = MakeSender();
  std::int64_t settled_at = Bridge::Now();
  while (!StopWanted() && !rebinds_ && Record().Text(kHalted).empty()) {
    const auto released = outbox_.Released([this] { return Bridge::IsDeliveredTo(TypeName(), InstanceName()); });
    sender.Release(released);
    SpeakUp(sender, transport);
    const Sender::Range more = sender.ToSend();
    Listen(sender, transport, more.begin >= more.end && released == outbox_.Next());
    NoteConnection(transport.Problem());
    TellDrained();
    if (outbox_.Count() > 0) settled_at = Bridge::Now();
    if (Bridge::Now() - settled_at < kLinger) continue;
    transport.Send(AddressOf(TextParameter("Bridge")), Bridge::Encode(sender.Farewell()));
    transport.Close();
    AskForParked();
    if (EndWork()) return Outcome::Done;
    break;
  }
  transport.Close();
  return Outcome::Stopped;
}

void BridgeOut::SpeakUp(Sender& sender, Transport& transport) {
  const std::string address = AddressOf(TextParameter("Bridge"));
  if (const auto hello = sender.Greeting(Bridge::Now())) transport.Send(address, Bridge::Encode(*hello));
  Sender::Range range = sender.ToSend();
  range.end = std::min(range.end, range.begin + kMostAtOnce);
  std::size_t under_way = outbox_.BytesBefore(range.begin);
  for (std::uint64_t number = range.begin; number < range.end; ++number) {
    const std::string letter = outbox_.Letter(number);
    under_way += letter.size();
    if (under_way > kMostUnderWay && number > sender.standing().first) return;
    if (number > sender.standing().sent) {
      sender.NoteSending(range.end);
      Record().SetNumber(kSent, static_cast<std::int64_t>(range.end - 1));
    }
    const Sender::Standing& now = sender.standing();
    const Bridge::Data data{now.id, now.holder, now.receiver, now.first, number, letter};
    if (!transport.Send(address, Bridge::Encode(data))) return;
    sender.NoteSent(number, Bridge::Now());
  }
}

void BridgeOut::Listen(Sender& sender, Transport& transport, bool is_idle) {
  auto bytes = transport.Poll(is_idle ? kIdleWait : std::chrono::milliseconds(1));
  while (bytes) {
    const auto frame = Bridge::Decode(*bytes);
    if (const auto* ack = frame ? std::get_if<Bridge::Ack>(&*frame) : nullptr) {
      Apply(sender, sender.Hear(*ack, Bridge::Now()));
    }
    bytes = transport.Poll(std::chrono::milliseconds(0));
  }
}

void BridgeOut::Apply(const Sender& sender, const Sender::Change& change) {
  Sdk::NodeRecord record = Record();
  for (const Bridge::Refusal& refusal : change.refusals) {
    HoldChanges();
    outbox_.Park(record, refusal.number, refusal.reason);
    record.SetNumber(kDeadNumber, static_cast<std::int64_t>(refusal.number));
    record.SetText(kDeadReason, refusal.reason);
    FireOutput("dead");
  }
  if (change.is_settled) outbox_.Settle(record, sender.standing().first);
  if (change.is_bound) record.SetText(kReceiver, sender.standing().receiver.Text());
  std::string halted = change.halted;
  if (!change.stranger.IsNone()) {
    halted = "another receiver answers, " + change.stranger.Text() + ", and what was sent to " +
             sender.standing().receiver.Text() + " is not acknowledged: the signal rebind lets the other one take over";
  }
  if (halted.empty()) return;
  HoldChanges();
  record.SetText(kHalted, halted);
  FireOutput("halted");
}

void BridgeOut::TellDrained() {
  Sdk::NodeRecord record = Record();
  const std::int64_t full_at = record.Number(kFullAt);
  if (full_at <= record.Number(kDrainedAt)) return;
  const bool has_room = outbox_.Count() <= static_cast<std::size_t>(NumberParameter("MostEntries")) / 2 &&
                        outbox_.Bytes() <= static_cast<std::size_t>(NumberParameter("MostBytes")) / 2;
  // That it was full may not be recorded yet.
  if (!has_room || Bridge::IsDeliveredTo(TypeName(), InstanceName())) return;
  HoldChanges();
  record.SetNumber(kDrainedAt, full_at);
  FireOutput("drained");
}

}  // namespace OrvWorkFlow::Nodes
